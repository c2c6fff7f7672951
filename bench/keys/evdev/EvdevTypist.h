#pragma once

#include <libevdev/libevdev-uinput.h>
#include <linux/input.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "CoreFoundation/FileDescriptor.h"
#include "bench/keys/Typist.h"

namespace kivo::bench {

/// A hand on a keyboard made with uinput, and a session that reads its device and the clones of it,
/// as a display server does.
class EvdevTypist final : public Typist {
  public:
    EvdevTypist();

    std::optional<double> Type() override;
    void AwaitHeld(bool isHeld) override;
    MinimalLoop StartLoop() override;

  private:
    struct Destroy {
        void operator()(libevdev_uinput* device) const { libevdev_uinput_destroy(device); }
    };

    void OpenNewNodes();
    bool IsHeld() const;
    void Send(bool isDown);
    bool AwaitKey(std::int32_t value);
    bool HasRead(std::int32_t value);

    std::unique_ptr<libevdev_uinput, Destroy> mKeyboard;
    std::string mPath;
    /// What the session reads, by path.
    std::map<std::string, FileDescriptor> mNodes;
};

}  // namespace kivo::bench
