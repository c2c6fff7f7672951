#pragma once

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ZYNCommon/SMessageSpec.h"

/// How tests/golden/payloads.json speaks of the payload classes; tests/golden/README.md describes
/// it.
namespace kivo::test {

std::vector<unsigned char> FromHex(const std::string& text);
std::string ToHex(const unsigned char* bytes, std::size_t count);

/// How the entries of one class are made, read and checked.
struct Codec {
    std::function<std::unique_ptr<SMessageSpec>(const nlohmann::json& fields)> make;
    std::function<nlohmann::json(const unsigned char* payload)> read;
    std::function<bool(const unsigned char* payload, std::size_t length)> isComplete;
};

/// By the names of the classes.
const std::map<std::string, Codec>& Codecs();

}  // namespace kivo::test
