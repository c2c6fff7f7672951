#include "driver/HexDump.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kivo::test {
namespace {

using Bytes = std::vector<unsigned char>;

/// The text, out of a buffer that is exactly as long as it must be.
std::string TextOf(const Bytes& bytes) {
    const auto count = static_cast<unsigned int>(bytes.size());
    std::vector<char> out(bytes.empty() ? 1 : 3 * bytes.size(), '#');
    HexDataToCString(bytes.data(), count, out.data());
    EXPECT_EQ(out.back(), '\0');
    return out.data();
}

std::string Printed(const Bytes& bytes, bool newline) {
    testing::internal::CaptureStdout();
    PrtHex(bytes.data(), static_cast<unsigned int>(bytes.size()), newline);
    return testing::internal::GetCapturedStdout();
}

TEST(HexDump, StoresUpperCaseWithSpacesBetween) {
    EXPECT_EQ(TextOf({0x0A, 0xFF}), "0A FF");
    EXPECT_EQ(TextOf({0x90}), "90");
}

TEST(HexDump, StoresNothingAsTheEmptyText) {
    EXPECT_EQ(TextOf({}), "");
}

TEST(HexDump, PrintsLowerCaseWithASpaceAfterEach) {
    EXPECT_EQ(Printed({0x0A, 0xFF}, false), "0a ff ");
    EXPECT_EQ(Printed({0x0A, 0xFF}, true), "0a ff \n");
    EXPECT_EQ(Printed({}, true), "\n");
    EXPECT_EQ(Printed({}, false), "");
}

TEST(HexDump, EveryByteHasItsTwoDigits) {
    for (unsigned int value = 0; value < 256; ++value) {
        char found[3];
        char wanted[3];
        HexByteToCString(static_cast<unsigned char>(value), found);
        std::snprintf(wanted, sizeof wanted, "%02X", value);
        EXPECT_STREQ(found, wanted);
    }
}

}  // namespace
}  // namespace kivo::test
