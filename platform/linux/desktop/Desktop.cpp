#include "desktop/Desktop.h"

#include "desktop/AbsentDesktop.h"
#include "desktop/x11/X11Desktop.h"

namespace kivo::desktop {
namespace {

/// Each kind of desktop is tried in turn.
std::unique_ptr<Desktop> FindSessionDesktop() {
    if (auto desktop = x11::X11Desktop::Open()) return desktop;
    return std::make_unique<AbsentDesktop>();
}

/// Never destroyed: at exit others may already be gone that a desktop's end would need.
std::unique_ptr<Desktop>& InForce() {
    static auto* desktop = new std::unique_ptr<Desktop>;
    return *desktop;
}

}  // namespace

Desktop& Current() {
    std::unique_ptr<Desktop>& desktop = InForce();
    if (desktop == nullptr) desktop = FindSessionDesktop();
    return *desktop;
}

void Install(std::unique_ptr<Desktop> desktop) {
    InForce() = std::move(desktop);
}

}  // namespace kivo::desktop
