#pragma once

#include <type_traits>

#include "ZYNCommon/SMessageSpec.h"

/// The body that the specs with a fixed layout share: a run of 32-bit fields.
namespace kivo {

/// Writes the values one after the other and returns `dst`.
template <typename... Values>
unsigned char* SerializeFieldRun(SMessageSpec& spec, unsigned char* dst, Values... values) {
    unsigned int offset = 0;
    ((offset += spec.SerializeField(static_cast<unsigned int>(values), dst + offset)), ...);
    return dst;
}

/// Reads the values one after the other.
template <typename... Values>
void DeserializeFieldRun(SMessageSpec& spec, const unsigned char* src, Values&... values) {
    const auto deserialize = [&spec, &src](auto& value) {
        unsigned int field = 0;
        src += spec.DeserializeField(src, &field);
        value = static_cast<std::remove_reference_t<decltype(value)>>(field);
    };
    (deserialize(values), ...);
}

}  // namespace kivo
