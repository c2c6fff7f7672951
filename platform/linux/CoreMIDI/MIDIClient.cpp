#include "CoreMIDI/MIDIClient.h"

#include <algorithm>
#include <cerrno>
#include <chrono>

namespace kivo::midi {
namespace {

MIDITimeStamp Now() {
    using namespace std::chrono;
    return static_cast<MIDITimeStamp>(
        duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count());
}

/// The status for a negative `errno` of a subscription.
OSStatus StatusOf(int error) {
    switch (error) {
        case -EACCES:
        case -EPERM:
            return kMIDINotPermitted;
        case -ENODEV:
        case -ENOENT:
        case -ENXIO:
        case -EINVAL:
            return kMIDIUnknownEndpoint;
        default:
            return kMIDIMessageSendErr;
    }
}

}  // namespace

OSStatus MIDIClient::AddPort(Port port, MIDIPortRef ref, const std::string& name) {
    // Private: only this client connects it, so no other program needs to see it.
    const unsigned direction = port.readProc != nullptr ? kCanBeWritten : kCanBeRead;
    port.number = mSequencer->CreatePort(name, direction | kIsPrivate);
    if (port.number < 0) return kMIDIMessageSendErr;
    port.ref = ref;
    mPorts.push_back(port);
    return noErr;
}

const MIDIClient::Port* MIDIClient::FindPort(MIDIPortRef ref) const {
    const auto found = std::ranges::find(mPorts, ref, &Port::ref);
    return found != mPorts.end() ? &*found : nullptr;
}

OSStatus MIDIClient::Connect(const Port& port, Address source, void* connectionRefCon) {
    const std::lock_guard lock(mRoutesMutex);
    if (Route* const route = FindRoute(source, port.number)) {
        route->connectionRefCon = connectionRefCon;
        return noErr;
    }
    if (mReader == nullptr) {
        mReader = std::make_unique<InputReader>(*mSequencer,
                                                [this](const Event& event) { Deliver(event); });
    }
    // Nothing is delivered before the route is there: the reading thread waits for the lock.
    const int error = mSequencer->Subscribe(source, port.number);
    if (error < 0) return StatusOf(error);
    mRoutes.push_back({source, port.number, port.readProc, port.refCon, connectionRefCon});
    return noErr;
}

/// With the lock held.
MIDIClient::Route* MIDIClient::FindRoute(Address source, int port) {
    const auto found = std::ranges::find_if(
        mRoutes, [&](const Route& route) { return route.source == source && route.port == port; });
    return found != mRoutes.end() ? &*found : nullptr;
}

std::optional<MIDIClient::Route> MIDIClient::RouteOf(const Event& event) {
    const std::lock_guard lock(mRoutesMutex);
    const Route* const route = FindRoute(event.source, event.port);
    return route != nullptr ? std::optional(*route) : std::nullopt;
}

/// Calls the read procedure, without the lock, with as many lists of one packet as the bytes take.
void MIDIClient::Deliver(const Event& event) {
    const std::optional<Route> route = RouteOf(event);
    if (!route) return;
    const MIDITimeStamp now = Now();
    for (std::span bytes = event.bytes; !bytes.empty();) {
        MIDIPacketList list{};
        MIDIPacket& packet = list.packet[0];
        const std::size_t length = std::min(bytes.size(), sizeof packet.data);
        list.numPackets = 1;
        packet.timeStamp = now;
        packet.length = static_cast<UInt16>(length);
        std::ranges::copy(bytes.first(length), packet.data);
        route->readProc(&list, route->portRefCon, route->connectionRefCon);
        bytes = bytes.subspan(length);
    }
}

}  // namespace kivo::midi
