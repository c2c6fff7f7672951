#include "CoreMIDI/InputReader.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "CoreFoundation/ThreadWithoutSignals.h"

namespace kivo::midi {
namespace {

/// After this many events the thread looks whether it is to end.
constexpr int kEventsAtOnce = 256;

}  // namespace

InputReader::StopSignal::StopSignal() : mDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (mDescriptor < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

InputReader::StopSignal::~StopSignal() {
    close(mDescriptor);
}

void InputReader::StopSignal::Give() const {
    eventfd_write(mDescriptor, 1);
}

InputReader::InputReader(Sequencer& sequencer, Delivery deliver)
    : mSequencer(sequencer),
      mDeliver(std::move(deliver)),
      mThread(StartWithoutSignals([this] { Run(); })) {
    pthread_setname_np(mThread.native_handle(), "kivo-midi");
}

InputReader::~InputReader() {
    mStop.Give();
    mThread.join();
}

void InputReader::Run() {
    while (WaitForInput() && TakeWhatIsThere()) {
    }
}

/// False when the thread is to end, or nothing can arrive any more.
bool InputReader::WaitForInput() const {
    std::array<pollfd, 2> descriptors{
        {{mStop.Descriptor(), POLLIN, 0}, {mSequencer.Descriptor(), POLLIN, 0}}};
    while (poll(descriptors.data(), descriptors.size(), -1) < 0) {
        if (errno != EINTR) return false;
    }
    return descriptors[0].revents == 0 && (descriptors[1].revents & POLLIN) != 0;
}

/// Delivers some of what has arrived. False when the sequencer can no longer be read.
bool InputReader::TakeWhatIsThere() {
    for (int taken = 0; taken < kEventsAtOnce; ++taken) {
        Event event;
        const int status = mSequencer.Read(event);
        if (status == -EAGAIN) return true;
        if (status < 0 && status != -ENOSPC && status != -EINTR) return false;
        if (status >= 0 && !event.bytes.empty()) mDeliver(event);
    }
    return true;
}

}  // namespace kivo::midi
