#include "desktop/Desktop.h"

#include "desktop/AbsentDesktop.h"

namespace kivo::desktop {
namespace {

std::unique_ptr<Desktop> FindSessionDesktop() {
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
