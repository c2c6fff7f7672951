#pragma once

#include <memory>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/evdev/Node.h"
#include "keyboard/guard/Ward.h"

namespace kivo::keyboard {

/// A keyboard that may be grabbed, and the clone that types for it. Descriptors that the daemon and
/// the guard share: either can end the grab and destroy the clone.
///
/// An opening of its own hears what everybody hears. So the guard knows which keys the session has
/// down from the keyboard itself, whatever the daemon was in the middle of.
class EvdevWard final : public Ward {
  public:
    /// Null when this process may not open the keyboard.
    static std::unique_ptr<EvdevWard> Open(FileDescriptor device, FileDescriptor clone);

    void Listen() override;
    void Free() override;

  private:
    EvdevWard(FileDescriptor device, FileDescriptor clone, FileDescriptor ear);
    void ReleaseWhatIsUp();

    const FileDescriptor mDevice;
    const FileDescriptor mClone;
    const FileDescriptor mEar;
    /// The keys that everybody has down from the keyboard, as far as was heard.
    evdev::Keys mDown;
};

}  // namespace kivo::keyboard
