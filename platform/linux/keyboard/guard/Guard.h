#pragma once

#include <map>
#include <memory>
#include <vector>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/guard/GuardProtocol.h"
#include "keyboard/guard/Lookout.h"
#include "keyboard/guard/Ward.h"

namespace kivo::keyboard {

/// Frees the keyboards that the daemon holds when it dies or makes no progress any more. Has a
/// process of its own, which the daemon starts and which ends with it.
class Guard {
  public:
    /// `socket` is one end of the pair that the daemon made; not owned.
    explicit Guard(int socket) : mSocket(socket) {}
    ~Guard();
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

    /// Guards until the daemon is gone, and frees what it then held.
    void Run();

  private:
    bool TakeOrders();
    void Obey(const GuardMessage& message, std::vector<FileDescriptor> descriptors);
    void TakePage(const FileDescriptor& descriptor);
    void WatchDevice(std::uint32_t number, std::vector<FileDescriptor> descriptors);
    void Watch(std::uint32_t number, std::unique_ptr<Ward> ward);
    void SetArmed(bool isArmed);
    void Look();
    void FreeAll();
    void Report(GuardNews news, std::uint32_t number = 0);

    const int mSocket;
    GuardPage* mPage = nullptr;
    std::map<std::uint32_t, std::unique_ptr<Ward>> mWards;
    bool mIsArmed = false;
    Lookout mLookout;
};

}  // namespace kivo::keyboard
