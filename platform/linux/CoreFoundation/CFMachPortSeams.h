#pragma once

// Inside of the layer only, never installed: how a room of the layer makes a port.

#include <CoreFoundation/CFMachPort.h>

#include <memory>

namespace kivo {

/// What a port delivers. Called on the thread of the run loop that has the port's source, also
/// while an earlier `Deliver` runs that loop.
class MachPortClient {
  public:
    virtual ~MachPortClient() = default;
    /// Readable when there may be something to deliver; the same for the client's whole life.
    virtual int Descriptor() const = 0;
    /// Whether there is something to deliver that the descriptor does not tell of.
    virtual bool HasWork() = 0;
    /// Delivers at most one event.
    virtual void Deliver() = 0;
};

/// Makes a port, which shares `client` until it is invalidated or goes. Create rule.
CFMachPortRef CreateMachPort(std::shared_ptr<MachPortClient> client);

/// What was given to `CreateMachPort`; null for a port that was invalidated.
MachPortClient* ClientOf(CFMachPortRef port);

}  // namespace kivo
