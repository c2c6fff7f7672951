// The texts by which windows call themselves, in each encoding that an X client may choose.

#include <cstdint>
#include <cstdlib>

#include "desktop/Text.h"
#include "desktop/x11/CompoundText.h"

namespace {

/// Whatever comes in, what goes on to the daemon is valid.
void RequireValid(const std::string& text) {
    if (kivo::desktop::ValidUTF8(text) != text) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    RequireValid(kivo::desktop::ValidUTF8(bytes));
    RequireValid(kivo::desktop::FromLatin1(bytes));
    RequireValid(kivo::desktop::x11::FromCompoundText(bytes));
    return 0;
}
