#include "keyboard/KeySource.h"

#include <utility>

namespace kivo::keyboard {
namespace {

std::function<std::unique_ptr<KeySource>()>& InstalledMaker() {
    static std::function<std::unique_ptr<KeySource>()> maker;
    return maker;
}

}  // namespace

std::unique_ptr<KeySource> ChooseSource() {
    if (const auto& make = InstalledMaker()) return make();
    return nullptr;
}

void InstallSource(std::function<std::unique_ptr<KeySource>()> make) {
    InstalledMaker() = std::move(make);
}

}  // namespace kivo::keyboard
