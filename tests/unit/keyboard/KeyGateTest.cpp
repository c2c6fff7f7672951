// Plays the scripts of tests/golden/keys: input lines, an empty line, the lines of what happens.
// With KIVO_BLESS=1 in the environment what happens is written into the files instead.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/unit/keyboard/KeyScript.h"

namespace kivo::test {
namespace {

namespace fs = std::filesystem;

struct Golden {
    std::vector<std::string> input;
    std::vector<std::string> expected;
};

Golden Read(const fs::path& path) {
    std::ifstream file(path);
    Golden golden;
    std::vector<std::string>* part = &golden.input;
    for (std::string line; std::getline(file, line);) {
        if (line.empty())
            part = &golden.expected;
        else
            part->push_back(line);
    }
    return golden;
}

void Write(const fs::path& path, const Golden& golden) {
    std::ofstream file(path);
    for (const std::string& line : golden.input) {
        file << line << '\n';
    }
    file << '\n';
    for (const std::string& line : golden.expected) {
        file << line << '\n';
    }
}

std::vector<fs::path> Scripts() {
    std::vector<fs::path> scripts;
    for (const auto& entry : fs::directory_iterator(KIVO_GOLDEN_KEYS)) {
        if (entry.path().extension() == ".txt") scripts.push_back(entry.path());
    }
    std::sort(scripts.begin(), scripts.end());
    return scripts;
}

std::string TestName(const testing::TestParamInfo<fs::path>& info) {
    std::string name = info.param.stem().string();
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

class KeyGateGolden : public testing::TestWithParam<fs::path> {};

TEST_P(KeyGateGolden, DoesWhatTheScriptSays) {
    Golden golden = Read(GetParam());
    KeyScript script;
    for (const std::string& line : golden.input) {
        script.Play(line);
    }
    if (std::getenv("KIVO_BLESS") != nullptr) {
        golden.expected = script.Happened();
        Write(GetParam(), golden);
        FAIL() << "written anew: read it, and run again without KIVO_BLESS";
    }
    EXPECT_THAT(script.Happened(), testing::ElementsAreArray(golden.expected));
}

INSTANTIATE_TEST_SUITE_P(Keys, KeyGateGolden, testing::ValuesIn(Scripts()), TestName);

}  // namespace
}  // namespace kivo::test
