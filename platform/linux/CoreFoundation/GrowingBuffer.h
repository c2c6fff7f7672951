#pragma once

// Inside of the layer only: memory for the payloads of long messages.

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

namespace kivo {

/// Memory that grows without being cleared and, where the system can move pages, uncopied.
class GrowingBuffer {
  public:
    GrowingBuffer() = default;
    GrowingBuffer(GrowingBuffer&& other) noexcept
        : mBytes(std::move(other.mBytes)), mCapacity(std::exchange(other.mCapacity, 0)) {}
    GrowingBuffer& operator=(GrowingBuffer&& other) noexcept {
        mBytes = std::move(other.mBytes);
        mCapacity = std::exchange(other.mCapacity, 0);
        return *this;
    }
    uint8_t* Bytes() const { return mBytes.get(); }
    size_t Capacity() const { return mCapacity; }
    /// Makes the capacity exactly `capacity`; false, and nothing changed, without memory.
    bool Resize(size_t capacity);

  private:
    struct Free {
        void operator()(uint8_t* bytes) const { std::free(bytes); }
    };
    std::unique_ptr<uint8_t, Free> mBytes;
    size_t mCapacity = 0;
};

/// The one big buffer of the process that waits to be used again: filling fresh memory costs as
/// much as reading a long message into it. Gone a second after its last use. From any thread.
namespace SpareBuffer {
/// The spare buffer, or an empty one when it is in use.
GrowingBuffer Take();
/// Keeps the buffer if it is worth it. The calling thread's loop forgets it.
void Give(GrowingBuffer buffer);
}  // namespace SpareBuffer

}  // namespace kivo
