#pragma once

// The words in which the files of this folder say what Apple documents of a name. Each is checked
// when it is compiled, here against platform/linux and on macOS against the system's frameworks.

#include <cstddef>
#include <type_traits>
#include <utility>

/// A function's whole type; an overload or a macro of its name does not compile.
#define FUNCTION(name, ...) \
    static_assert(std::is_same_v<decltype(name), __VA_ARGS__>, "the type of " #name)

/// What a type is another name of.
#define TYPE(name, ...) static_assert(std::is_same_v<name, __VA_ARGS__>, "the type " #name)

/// An enumeration that takes no plain number, and the type that its values have.
#define ENUMERATION(name, underlying)                                                \
    static_assert(std::is_enum_v<name> && std::is_convertible_v<name, underlying> && \
                      std::is_same_v<std::underlying_type_t<name>, underlying>,      \
                  "the enumeration " #name)

/// A structure's size, without which a field more or less would not show.
#define STRUCTURE(name, size) \
    static_assert(std::is_standard_layout_v<name> && sizeof(name) == (size), "the size of " #name)

/// A structure's field: its type and how many bytes of the structure stand before it.
#define FIELD(name, field, offset, ...)                                                          \
    static_assert(                                                                               \
        std::is_same_v<decltype(name::field), __VA_ARGS__> && offsetof(name, field) == (offset), \
        #name "::" #field)

/// A number's value, whatever its integral type: an enumeration's, a macro's or a constant's.
#define CONSTANT(name, value) static_assert(std::cmp_equal(+(name), value), "the value of " #name)

/// A variable's type.
#define VARIABLE(name, ...) \
    static_assert(std::is_same_v<decltype(name), __VA_ARGS__>, "the type of " #name)

/// What a macro's expansion has for a type.
#define EXPRESSION(expression, ...) \
    static_assert(std::is_same_v<decltype(expression), __VA_ARGS__>, #expression)
