#include "tests/support/ScriptedSequencer.h"

#include <CoreMIDI/MIDISeams.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace kivo::test {

using namespace midi;

class ScriptedSequencer::Connection final : public Sequencer {
  public:
    explicit Connection(ScriptedSequencer& script) : mScript(script) {}
    ~Connection() override { mScript.calls.emplace_back("close"); }

    std::vector<SequencerClient> Clients() override { return mScript.clients; }

    int CreatePort(const std::string& name, unsigned capabilities) override {
        mScript.calls.push_back("port " + name + " " + std::to_string(capabilities));
        const auto error = mScript.portErrors.find(name);
        return error != mScript.portErrors.end() ? error->second : mScript.mPorts++;
    }

    int Subscribe(Address source, int port) override {
        mScript.calls.push_back("subscribe " + std::to_string(source.client) + ":" +
                                std::to_string(source.port) + " to " + std::to_string(port));
        return mScript.subscribeError;
    }

    int Descriptor() const override { return mScript.mDescriptor; }

    int Read(Event& event) override {
        if (!mScript.Take(mArrival)) return -EAGAIN;
        if (mArrival.error != 0) return mArrival.error;
        event = {mArrival.source, mArrival.port, mArrival.bytes};
        return 0;
    }

  private:
    ScriptedSequencer& mScript;
    Arrival mArrival;
};

ScriptedSequencer::ScriptedSequencer() : mDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (mDescriptor < 0) std::abort();
    ForgetEverything();
    InstallSequencer([this](const std::string& name) -> OpenedSequencer {
        calls.push_back("open " + name);
        if (onOpen) onOpen();
        if (openError != 0) return {nullptr, openError};
        return {std::make_unique<Connection>(*this), 0};
    });
}

ScriptedSequencer::~ScriptedSequencer() {
    ForgetEverything();
    InstallSequencer(nullptr);
    close(mDescriptor);
}

SequencerClient& ScriptedSequencer::Plug(const std::string& name,
                                         const std::vector<std::string>& ports) {
    const int card = static_cast<int>(clients.size());
    SequencerClient& client = clients.emplace_back();
    client = {16 + 4 * card, name, true, card, {}};
    for (const std::string& port : ports) {
        client.ports.push_back(
            {static_cast<int>(client.ports.size()), port,
             kCanBeRead | kCanBeWritten | kCanBeSubscribedForReading | kCanBeSubscribedForWriting});
    }
    return client;
}

void ScriptedSequencer::Play(Address source, int port, std::vector<std::uint8_t> bytes) {
    Arrive({source, port, std::move(bytes), 0});
}

void ScriptedSequencer::FailRead(int error) {
    Arrive({{}, 0, {}, error});
}

void ScriptedSequencer::Arrive(Arrival arrival) {
    const std::lock_guard lock(mMutex);
    mArrivals.push_back(std::move(arrival));
    eventfd_write(mDescriptor, 1);
}

bool ScriptedSequencer::Take(Arrival& arrival) {
    const std::lock_guard lock(mMutex);
    eventfd_t ignored = 0;
    if (mArrivals.empty()) {
        eventfd_read(mDescriptor, &ignored);
        return false;
    }
    arrival = std::move(mArrivals.front());
    mArrivals.pop_front();
    return true;
}

bool ScriptedSequencer::AwaitAllRead() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
        {
            const std::lock_guard lock(mMutex);
            eventfd_t waiting = 0;
            // The reader clears the signal only after it found nothing more.
            if (mArrivals.empty() && eventfd_read(mDescriptor, &waiting) != 0) return true;
            if (waiting != 0) eventfd_write(mDescriptor, waiting);
        }
        std::this_thread::yield();
    }
    return false;
}

}  // namespace kivo::test
