#include "keyboard/KeySource.h"

#include <cstdlib>
#include <string_view>
#include <utility>

#include <Workspace.h>
#include "keyboard/evdev/EvdevKeySource.h"
#include "keyboard/x11/X11KeySource.h"

namespace kivo::keyboard {
namespace {

std::function<std::unique_ptr<KeySource>()>& InstalledMaker() {
    static std::function<std::unique_ptr<KeySource>()> maker;
    return maker;
}

}  // namespace

std::unique_ptr<KeySource> ChooseSource() {
    if (const auto& make = InstalledMaker()) return make();
    const char* const wish = std::getenv("KIVO_KEYBOARD");
    const std::string_view only = wish == nullptr ? "" : wish;
    std::unique_ptr<KeySource> source;
    if (only.empty() || only == "evdev") source = evdev::EvdevKeySource::Open();
    if (!source && (only.empty() || only == "x11")) source = x11::X11KeySource::Open();
    if (source) NSLog(CFSTR("Key events come from %s"), source->Name());
    return source;
}

void InstallSource(std::function<std::unique_ptr<KeySource>()> make) {
    InstalledMaker() = std::move(make);
}

}  // namespace kivo::keyboard
