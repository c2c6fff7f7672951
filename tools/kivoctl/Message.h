#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace kivo::ctl {

/// One thing to tell, in both forms: a line for people, and the fields of a JSON object, which keep
/// their order. The object's "name" says what it is; names and keys are stable.
struct Message {
    std::string words;
    nlohmann::ordered_json fields;
};

}  // namespace kivo::ctl
