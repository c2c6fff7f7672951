#pragma once

// Inside of the layer only, never installed: a client, its ports and its connections.

#include <CoreMIDI/InputReader.h>
#include <CoreMIDI/MIDIServices.h>
#include <CoreMIDI/Sequencer.h>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace kivo::midi {

/// One sign-in. Belongs to the main thread, apart from the deliveries to read procedures.
class MIDIClient {
  public:
    /// A port that was made; an output port has no read procedure.
    struct Port {
        MIDIPortRef ref = 0;
        int number = 0;  ///< the sequencer's
        MIDIReadProc readProc = nullptr;
        void* refCon = nullptr;
    };

    explicit MIDIClient(std::unique_ptr<Sequencer> sequencer) : mSequencer(std::move(sequencer)) {}

    Sequencer& Connection() { return *mSequencer; }

    /// Adds a port whose sequencer number and reference are still open; `ref` is what it is to be
    /// called. Returns a status.
    OSStatus AddPort(Port port, MIDIPortRef ref, const std::string& name);
    const Port* FindPort(MIDIPortRef ref) const;

    /// Has an input port receive from a source. Returns a status.
    OSStatus Connect(const Port& port, Address source, void* connectionRefCon);

    bool IsReadingOnThisThread() const { return mReader && mReader->IsOnThisThread(); }

  private:
    /// What a delivery needs to know.
    struct Route {
        Address source;
        int port = 0;
        MIDIReadProc readProc = nullptr;
        void* portRefCon = nullptr;
        void* connectionRefCon = nullptr;
    };

    Route* FindRoute(Address source, int port);
    std::optional<Route> RouteOf(const Event& event);
    void Deliver(const Event& event);

    std::unique_ptr<Sequencer> mSequencer;
    std::vector<Port> mPorts;
    std::mutex mRoutesMutex;
    std::vector<Route> mRoutes;
    // Last, so that the thread has ended before the rest goes.
    std::unique_ptr<InputReader> mReader;
};

}  // namespace kivo::midi
