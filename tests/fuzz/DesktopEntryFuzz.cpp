// The desktop files by which applications describe themselves.

#include <cstdint>
#include <cstdlib>

#include "desktop/DesktopEntry.h"
#include "desktop/Text.h"

namespace {

void RequireValid(const std::string& value) {
    if (kivo::desktop::ValidUTF8(value) != value) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto entry =
        kivo::desktop::ParseDesktopEntry({reinterpret_cast<const char*>(data), size});
    if (!entry) return 0;
    RequireValid(entry->startupWMClass);
    RequireValid(entry->program);
    RequireValid(entry->signature.value_or(""));
    RequireValid(entry->shortVersion.value_or(""));
    return 0;
}
