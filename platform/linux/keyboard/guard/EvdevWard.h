#pragma once

#include <linux/input-event-codes.h>

#include <array>
#include <atomic>
#include <cstdint>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/guard/Ward.h"

namespace kivo::keyboard {

/// A keyboard that is grabbed, and the clone that types for it. Descriptors that the daemon and the
/// guard share: either can end the grab and destroy the clone.
class EvdevWard final : public Ward {
  public:
    using Keys = std::array<std::atomic<std::uint8_t>, KEY_CNT>;

    /// `downBefore` outlives the ward.
    EvdevWard(FileDescriptor device, FileDescriptor clone, const Keys& downBefore)
        : mDevice(std::move(device)), mClone(std::move(clone)), mDownBefore(downBefore) {}

    void Free() override;

  private:
    void ReleaseWhatIsUp();

    const FileDescriptor mDevice;
    const FileDescriptor mClone;
    const Keys& mDownBefore;
};

}  // namespace kivo::keyboard
