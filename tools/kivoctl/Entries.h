#pragma once

#include <algorithm>

namespace kivo::ctl {

/// The first entry of a table whose member has this value, or the table's end. The library of some
/// systems has no std::ranges::find yet.
template <typename Table, typename Value, typename Entry, typename Member>
auto FindEntry(const Table& table, const Value& value, Member Entry::*member) {
    return std::find_if(table.begin(), table.end(),
                        [&](const Entry& entry) { return entry.*member == value; });
}

}  // namespace kivo::ctl
