#include "tools/kivoctl/Inbox.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "tools/kivoctl/Failure.h"

namespace kivo::ctl {

namespace {

/// What is written into the pipe that wakes the reading thread.
constexpr char kSignalCame = 's';
constexpr char kEnd = 'e';

constexpr std::array kSignals = {SIGINT, SIGTERM};

/// Where the signal handler writes; -1 while there is no inbox.
std::atomic<int> sWakeDescriptor = -1;

void WriteByte(int descriptor, char byte) {
    // A full pipe holds wakes enough.
    [[maybe_unused]] const ssize_t written = write(descriptor, &byte, 1);
}

extern "C" void NoteSignal(int) {
    const int saved = errno;
    WriteByte(sWakeDescriptor, kSignalCame);
    errno = saved;
}

void SetSignalHandler(void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    for (const int number : kSignals)
        sigaction(number, &action, nullptr);
}

std::array<int, 2> MakePipe() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw Failure(ExitCode::kBroken,
                      std::string("making a pipe failed: ") + std::strerror(errno));
    }
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    return ends;
}

}  // namespace

Inbox::Inbox(int inputDescriptor, Handler handler)
    : mInput(inputDescriptor), mHandler(std::move(handler)), mRunLoop(CFRunLoopGetCurrent()) {
    const auto [readEnd, writeEnd] = MakePipe();
    mWakeRead = readEnd;
    mWakeWrite = writeEnd;
    CFRunLoopSourceContext context{};
    context.info = this;
    context.perform = PerformEntry;
    mSource = Adopt(CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context));
    CFRunLoopAddSource(mRunLoop, mSource.Get(), kCFRunLoopDefaultMode);
    sWakeDescriptor = mWakeWrite;
    SetSignalHandler(NoteSignal, static_cast<int>(SA_RESTART | SA_RESETHAND));
    mReader = std::thread(&Inbox::Read, this);
}

Inbox::~Inbox() {
    SetSignalHandler(SIG_DFL, 0);
    sWakeDescriptor = -1;
    WriteByte(mWakeWrite, kEnd);
    mReader.join();
    CFRunLoopSourceInvalidate(mSource.Get());
    close(mWakeRead);
    close(mWakeWrite);
}

void Inbox::PerformEntry(void* info) {
    static_cast<Inbox*>(info)->Deliver();
}

void Inbox::Deliver() {
    std::deque<Event> events;
    {
        const std::lock_guard lock(mMutex);
        events.swap(mEvents);
    }
    for (const Event& event : events)
        mHandler(event);
}

void Inbox::Post(Kind kind, std::string line) {
    {
        const std::lock_guard lock(mMutex);
        mEvents.push_back({kind, std::move(line)});
    }
    CFRunLoopSourceSignal(mSource.Get());
    CFRunLoopWakeUp(mRunLoop);
}

void Inbox::Read() {
    // poll passes over a descriptor of -1.
    std::array<pollfd, 2> awaited = {{{mWakeRead, POLLIN, 0}, {mInput, POLLIN, 0}}};
    for (;;) {
        if (poll(awaited.data(), awaited.size(), -1) < 0) continue;
        char byte = 0;
        if (awaited[0].revents != 0 && read(mWakeRead, &byte, 1) == 1) {
            if (byte == kEnd) return;
            Post(Kind::kSignal, {});
        }
        if (awaited[1].revents != 0 && !TakeInput()) awaited[1].fd = -1;
    }
}

/// Reads what is there and posts the complete lines. False at the end of the input.
bool Inbox::TakeInput() {
    std::array<char, 4096> buffer{};
    const ssize_t count = read(mInput, buffer.data(), buffer.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return true;
    if (count <= 0) {
        if (!mPartialLine.empty()) Post(Kind::kLine, std::exchange(mPartialLine, {}));
        Post(Kind::kEndOfInput, {});
        return false;
    }
    for (const char character : std::string_view(buffer.data(), static_cast<size_t>(count))) {
        if (character == '\n') {
            Post(Kind::kLine, std::exchange(mPartialLine, {}));
        } else {
            mPartialLine += character;
        }
    }
    return true;
}

}  // namespace kivo::ctl
