#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "platform/CFRef.h"

namespace kivo::ctl {

/// Brings what comes from outside to the run loop of the thread that makes the inbox: lines of a
/// descriptor, and the signals SIGINT and SIGTERM.
///
/// A thread of its own reads, so that the loop never waits for input; it touches nothing but the
/// queue. While an inbox lives the first of these signals is an event; a second one has its default
/// action and ends a process that does not get round to the first. One inbox at a time.
class Inbox {
  public:
    enum class Kind { kLine, kEndOfInput, kSignal };
    struct Event {
        Kind kind;
        std::string line;  ///< Without its line end; empty for the other kinds.
    };
    /// Called on the run loop, in the default mode only. Must not throw.
    using Handler = std::function<void(const Event&)>;

    /// Reads lines from `inputDescriptor`, which is not owned; -1 for none.
    Inbox(int inputDescriptor, Handler handler);
    ~Inbox();
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;

  private:
    static void PerformEntry(void* info);
    void Deliver();

    // On the reading thread.
    void Read();
    bool TakeInput();
    void Post(Kind kind, std::string line);

    int mInput;
    Handler mHandler;
    int mWakeRead = -1;
    int mWakeWrite = -1;
    std::string mPartialLine;
    CFRunLoopRef mRunLoop;
    CFRef<CFRunLoopSourceRef> mSource;
    std::mutex mMutex;
    std::deque<Event> mEvents;
    std::thread mReader;
};

}  // namespace kivo::ctl
