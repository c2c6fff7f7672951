// The main run loop, and how a signal handler ends it.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>

#include "platform/Workspace.h"
#include "platform/macos/Foundation.h"
#include "platform/macos/Permissions.h"

namespace {

std::atomic<bool> sStopWanted = false;
std::atomic<int> sStopWriter = -1;  // where a stop is announced; -1 before the first run

/// Ends a turn of the run loop, and the next one too: the byte in the pipe stays unread, so that a
/// nested run does not keep the news from the one around it.
void StopCame(CFFileDescriptorRef descriptor, CFOptionFlags, void*) {
    CFFileDescriptorEnableCallBacks(descriptor, kCFFileDescriptorReadCallBack);
}

/// A pipe that the main run loop watches in the default mode. A stop is a byte in it.
class StopPipe {
  public:
    /// Made at the first run and never unmade: a handler may write at any time.
    static StopPipe& Made() {
        static StopPipe& made = *new StopPipe;
        return made;
    }

    /// Forgets what was written so far.
    void Empty() const {
        char byte;
        while (read(mEnds[0], &byte, 1) == 1) {
        }
    }

  private:
    StopPipe() {
        if (pipe(mEnds.data()) != 0) return;  // then a stop is seen at the next turn only
        for (const int end : mEnds) {
            fcntl(end, F_SETFD, FD_CLOEXEC);
            fcntl(end, F_SETFL, O_NONBLOCK);
        }
        const CFFileDescriptorRef reader =
            CFFileDescriptorCreate(kCFAllocatorDefault, mEnds[0], false, StopCame, nullptr);
        CFFileDescriptorEnableCallBacks(reader, kCFFileDescriptorReadCallBack);
        const CFRunLoopSourceRef source =
            CFFileDescriptorCreateRunLoopSource(kCFAllocatorDefault, reader, 0);
        CFRunLoopAddSource(CFRunLoopGetMain(), source, kCFRunLoopDefaultMode);
        sStopWriter = mEnds[1];
    }

    std::array<int, 2> mEnds = {-1, -1};
};

}  // namespace

void Workspace_RunMainLoop() {
    kivo::ReportMissingPermissions();
    const StopPipe& stopPipe = StopPipe::Made();
    while (!sStopWanted) {
        const kivo::AutoreleasePool pool;
        [[NSRunLoop mainRunLoop] runMode:NSDefaultRunLoopMode beforeDate:[NSDate distantFuture]];
    }
    stopPipe.Empty();
    sStopWanted = false;
}

void Workspace_StopMainLoop() {
    const int savedError = errno;
    sStopWanted = true;
    const char byte = 's';
    [[maybe_unused]] const ssize_t written = write(sStopWriter, &byte, 1);
    errno = savedError;
}
