#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

struct sd_bus;

namespace kivo::bench {

/// Serves the method until it is killed: takes an array of bytes, answers with one byte. Calls
/// `reportReady` when it can be called.
[[noreturn]] void ServeOnBus(const std::string& address, const std::function<void()>& reportReady);

/// A client of that method over a bus.
class BusClient {
  public:
    explicit BusClient(const std::string& address);
    void Call(std::span<const uint8_t> request);

  private:
    struct Close {
        void operator()(sd_bus* bus) const;
    };
    std::unique_ptr<sd_bus, Close> mBus;
};

}  // namespace kivo::bench
