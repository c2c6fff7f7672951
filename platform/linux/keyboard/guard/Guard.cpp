#include "keyboard/guard/Guard.h"

#include <poll.h>
#include <sys/mman.h>

#include <cerrno>
#include <span>
#include <utility>

#include "keyboard/guard/EvdevWard.h"
#include "keyboard/guard/Packets.h"
#include "keyboard/guard/X11Ward.h"

namespace kivo::keyboard {

Guard::~Guard() {
    if (mPage != nullptr) munmap(mPage, sizeof(GuardPage));
}

void Guard::Run() {
    for (;;) {
        pollfd socket{mSocket, POLLIN, 0};
        const int ready = poll(&socket, 1, mIsArmed ? static_cast<int>(kLook.count()) : -1);
        if (ready > 0 && !TakeOrders()) break;
        if (ready == 0) Look();
    }
    if (mIsArmed) FreeAll();
}

/// False when the daemon is gone.
bool Guard::TakeOrders() {
    for (;;) {
        GuardMessage message;
        std::vector<FileDescriptor> descriptors;
        const ssize_t size =
            ReceivePacket(mSocket, std::as_writable_bytes(std::span(&message, 1)), &descriptors);
        if (size < 0) return errno == EAGAIN || errno == EINTR;
        if (size == 0) return false;
        message.text.back() = '\0';
        if (size == sizeof message) Obey(message, std::move(descriptors));
    }
}

void Guard::Obey(const GuardMessage& message, std::vector<FileDescriptor> descriptors) {
    switch (message.order) {
        case GuardOrder::kTakePage:
            if (descriptors.size() == 1) TakePage(descriptors[0]);
            break;
        case GuardOrder::kWatchX11:
            Watch(message.number, X11Ward::Open(message.text.data(), message.number));
            break;
        case GuardOrder::kWatchDevice:
            WatchDevice(message.number, std::move(descriptors));
            break;
        case GuardOrder::kForgetDevice:
            mWards.erase(message.number);
            break;
        case GuardOrder::kArm:
        case GuardOrder::kDisarm:
            SetArmed(message.order == GuardOrder::kArm);
            break;
        case GuardOrder::kFree:
            FreeAll();
            break;
    }
}

void Guard::TakePage(const FileDescriptor& descriptor) {
    void* const memory =
        mmap(nullptr, sizeof(GuardPage), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor.Get(), 0);
    if (memory != MAP_FAILED) mPage = static_cast<GuardPage*>(memory);
}

void Guard::Watch(std::uint32_t number, std::unique_ptr<Ward> ward) {
    if (!ward || mPage == nullptr) return Report(GuardNews::kRefused, number);
    mWards[number] = std::move(ward);
    Report(GuardNews::kReady, number);
}

void Guard::WatchDevice(std::uint32_t number, std::vector<FileDescriptor> descriptors) {
    if (descriptors.size() != 2) return Report(GuardNews::kRefused, number);
    Watch(number, EvdevWard::Open(std::move(descriptors[0]), std::move(descriptors[1])));
}

void Guard::SetArmed(bool isArmed) {
    mIsArmed = isArmed && mPage != nullptr;
    if (mIsArmed) mLookout.Begin(mPage->beats.load(std::memory_order_relaxed));
}

void Guard::Look() {
    for (const auto& [number, ward] : mWards) {
        ward->Listen();
    }
    if (!mLookout.IsInVain(mPage->beats.load(std::memory_order_relaxed))) return;
    FreeAll();
}

void Guard::FreeAll() {
    mIsArmed = false;
    if (mPage != nullptr) mPage->isFreed.store(1, std::memory_order_seq_cst);
    for (const auto& [number, ward] : mWards) {
        ward->Free();
    }
    mWards.clear();
    Report(GuardNews::kFreed);
}

void Guard::Report(GuardNews news, std::uint32_t number) {
    const GuardReport report{news, number};
    SendPacket(mSocket, std::as_bytes(std::span(&report, 1)), {});
}

}  // namespace kivo::keyboard
