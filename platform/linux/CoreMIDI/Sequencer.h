#pragma once

// Inside of the layer only, never installed: the system's sequencer as the layer needs it.

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace kivo::midi {

/// Where a port is: its client's number and its own within that client.
struct Address {
    int client = 0;
    int port = 0;
    friend bool operator==(const Address&, const Address&) = default;
};

/// What a port lets others do, a set of bits.
enum Capability : unsigned {
    kCanBeRead = 1,
    kCanBeWritten = 2,
    kCanBeSubscribedForReading = 4,
    kCanBeSubscribedForWriting = 8,
    kIsPrivate = 16,  ///< connected by its owner only
};

struct SequencerPort {
    int number = 0;
    std::string name;  ///< bytes as the device gave them
    unsigned capabilities = 0;
};

struct SequencerClient {
    int number = 0;
    std::string name;  ///< bytes as the device gave them
    bool isKernel = false;
    int card = -1;  ///< the sound card that it stands for; -1 for none
    std::vector<SequencerPort> ports;
};

/// Something that arrived.
struct Event {
    Address source;
    int port = 0;  ///< of ours
    /// A whole message, or a stretch of a system exclusive one; empty when it is not MIDI. Valid
    /// until the next event is read.
    std::span<const std::uint8_t> bytes;
};

/// One connection to the sequencer, which makes this process one of its clients until the object
/// goes. Results are 0 or a number, or a negative `errno`. `Read` may be called on another thread
/// than the rest, at the same time.
class Sequencer {
  public:
    virtual ~Sequencer() = default;

    /// All clients in the order of their numbers, ports in the order of theirs.
    virtual std::vector<SequencerClient> Clients() = 0;

    /// Makes a port of ours and returns its number.
    virtual int CreatePort(const std::string& name, unsigned capabilities) = 0;

    /// Has a port of ours receive from a source until the source's device goes.
    virtual int Subscribe(Address source, int port) = 0;

    /// Becomes readable when something arrived.
    virtual int Descriptor() const = 0;

    /// Takes the next event without waiting; -EAGAIN when there is none, -ENOSPC once after the
    /// sequencer dropped events because they were not read in time.
    virtual int Read(Event& event) = 0;
};

/// A connection, or none and the negative `errno` that says why.
struct OpenedSequencer {
    std::unique_ptr<Sequencer> sequencer;
    int error = 0;
};
using SequencerOpener = std::function<OpenedSequencer(const std::string& clientName)>;

/// Opens the system's sequencer, or what was installed in its place.
OpenedSequencer OpenSequencer(const std::string& clientName);

}  // namespace kivo::midi
