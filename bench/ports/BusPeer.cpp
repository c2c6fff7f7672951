#include "bench/ports/BusPeer.h"

#include <systemd/sd-bus.h>

#include <cstdio>
#include <cstdlib>

namespace kivo::bench {
namespace {

constexpr const char* kService = "com.zynwerks.kivo.Bench";
constexpr const char* kPath = "/bench";

void Check(int result, const char* what) {
    if (result >= 0) return;
    std::fprintf(stderr, "bench-ports: %s failed with %d\n", what, result);
    std::exit(1);
}

sd_bus* Connect(const std::string& address) {
    sd_bus* bus = nullptr;
    Check(sd_bus_new(&bus), "making a bus connection");
    Check(sd_bus_set_address(bus, address.c_str()), "setting the bus address");
    Check(sd_bus_set_bus_client(bus, 1), "becoming a bus client");
    Check(sd_bus_start(bus), "connecting to the private bus");
    return bus;
}

int Answer(sd_bus_message* message, void*, sd_bus_error*) {
    const void* bytes = nullptr;
    size_t size = 0;
    Check(sd_bus_message_read_array(message, 'y', &bytes, &size), "reading a request");
    return sd_bus_reply_method_return(message, "y", static_cast<const uint8_t*>(bytes)[0]);
}

}  // namespace

void ServeOnBus(const std::string& address, const std::function<void()>& reportReady) {
    static const sd_bus_vtable kMethods[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_METHOD("Ask", "ay", "y", Answer, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    sd_bus* bus = Connect(address);
    Check(sd_bus_add_object_vtable(bus, nullptr, kPath, kService, kMethods, nullptr),
          "offering the method");
    Check(sd_bus_request_name(bus, kService, 0), "taking the bus name");
    reportReady();
    for (;;) {
        const int done = sd_bus_process(bus, nullptr);
        Check(done, "serving");
        if (done == 0) Check(sd_bus_wait(bus, UINT64_MAX), "waiting for requests");
    }
}

BusClient::BusClient(const std::string& address) : mBus(Connect(address)) {}

void BusClient::Close::operator()(sd_bus* bus) const {
    sd_bus_flush_close_unref(bus);
}

void BusClient::Call(std::span<const uint8_t> request) {
    sd_bus_message* message = nullptr;
    sd_bus_message* reply = nullptr;
    Check(sd_bus_message_new_method_call(mBus.get(), &message, kService, kPath, kService, "Ask"),
          "making a call");
    Check(sd_bus_message_append_array(message, 'y', request.data(), request.size()),
          "filling a call");
    Check(sd_bus_call(mBus.get(), message, 0, nullptr, &reply), "calling");
    uint8_t answer = 0;
    Check(sd_bus_message_read(reply, "y", &answer), "reading an answer");
    sd_bus_message_unref(reply);
    sd_bus_message_unref(message);
}

}  // namespace kivo::bench
