#pragma once

#include <CoreMIDI/Sequencer.h>

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kivo::test {

/// A sequencer whose clients and answers a test decides, in force from construction to destruction.
/// Everything is signed out at both ends. Belongs to the main thread; what it plays is read on the
/// layer's.
class ScriptedSequencer {
  public:
    ScriptedSequencer();
    ~ScriptedSequencer();
    ScriptedSequencer(const ScriptedSequencer&) = delete;
    ScriptedSequencer& operator=(const ScriptedSequencer&) = delete;

    /// Plugs a device in, with ports for both directions, as the next client.
    midi::SequencerClient& Plug(const std::string& name, const std::vector<std::string>& ports);

    /// Has an event arrive at a port of ours.
    void Play(midi::Address source, int port, std::vector<std::uint8_t> bytes);
    /// Has the next read fail with a negative `errno`.
    void FailRead(int error);
    /// Waits until everything that arrived has been read. False when that takes too long.
    bool AwaitAllRead();

    std::vector<midi::SequencerClient> clients;

    // What the calls give, when it is not 0.
    int openError = 0;
    std::map<std::string, int> portErrors;  ///< by the port's name
    int subscribeError = 0;

    std::function<void()> onOpen;  ///< called when a client signs in

    /// Each call, as words: "open KIVO", "port Input from hardware 18", "subscribe 20:0 to 0".
    std::vector<std::string> calls;

  private:
    class Connection;

    struct Arrival {
        midi::Address source;
        int port = 0;
        std::vector<std::uint8_t> bytes;
        int error = 0;
    };

    void Arrive(Arrival arrival);
    bool Take(Arrival& arrival);

    std::mutex mMutex;
    std::deque<Arrival> mArrivals;
    int mDescriptor;  ///< readable while something waits
    int mPorts = 0;
};

}  // namespace kivo::test
