#include "ZYNCommon/MessageCodes.h"

#include <gtest/gtest.h>

#include <set>

#include "ZYNCommon/RawPayloads.h"

namespace {

using kivo::MessageDirection;

TEST(MessageCodes, HaveTheirFirstCharacterInTheHighByte) {
    EXPECT_EQ(kivo::kMessagePointer, 0x5A476C4D);
    EXPECT_EQ(kivo::MessageCode("\xFF\xFF\xFF\xFF"), -1);
}

TEST(MessageCodes, EachHasOneDescription) {
    std::set<SInt32> codes;
    for (const auto& message : kivo::kMessages) {
        codes.insert(message.code);
        EXPECT_EQ(kivo::DescribeMessage(message.code), &message);
    }
    EXPECT_EQ(codes.size(), 11u);
}

TEST(MessageCodes, UnknownOneHasNoDescription) {
    EXPECT_EQ(kivo::DescribeMessage(0x6554616F), nullptr) << "'eTao', one below 'eTap'";
    EXPECT_EQ(kivo::DescribeMessage(0), nullptr);
}

TEST(MessageCodes, RequestsGoToTheDriver) {
    for (const SInt32 code : {kivo::kMessageEventTap, kivo::kMessagePointer,
                              kivo::kMessageTargetWindow, kivo::kMessageWindow}) {
        EXPECT_EQ(kivo::DescribeMessage(code)->direction, MessageDirection::kControlCenterToDriver);
    }
    EXPECT_EQ(kivo::DescribeMessage(kivo::kMessageConnect)->direction,
              MessageDirection::kDriverToControlCenter);
}

TEST(MessageCodes, TextIsTheFourCharactersOrTheNumber) {
    EXPECT_EQ(kivo::MessageCodeText(kivo::kMessageConnect), "KiCt");
    EXPECT_EQ(kivo::MessageCodeText(0x41), "0x00000041");
    EXPECT_EQ(kivo::MessageCodeText(-1), "0xFFFFFFFF");
}

TEST(RawPayloads, IdentityCodeIsTheEndOfThePortName) {
    EXPECT_EQ(kivo::MessageCodeText(static_cast<SInt32>(kivo::kIdentityCode)), "KIVB");
    EXPECT_STREQ(kivo::kDriverPortName, "Kivo_MessagePort_KIVB");
    EXPECT_STREQ(kivo::kControlCenterPortName, "KivoDriver");
}

}  // namespace
