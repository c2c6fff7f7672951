// The dispatcher: codes, payloads that are not whole, and what each request answers.

#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

constexpr std::optional<Bytes> kNoReply = std::nullopt;

Bytes WindowRequest(const std::string& title, bool partial) {
    Bytes payload = {partial, 0, 0, 0};
    payload.insert(payload.end(), title.begin(), title.end());
    payload.push_back(0);
    return payload;
}

class RequestsTest : public DriverTest {
  protected:
    void SetUp() override {
        StartControlCenter();
        StartDriver();
    }
};

TEST_F(RequestsTest, OnlyBitZeroOfTheTapSwitchCounts) {
    EXPECT_EQ(Ask(kMessageEventTap, {0x01}), kNoReply);
    EXPECT_TRUE(Probe().TapEnabled());
    Ask(kMessageEventTap, {0x02});
    EXPECT_FALSE(Probe().TapEnabled());
    Ask(kMessageEventTap, {0xFF});
    EXPECT_TRUE(Probe().TapEnabled());
    Ask(kMessageEventTap, {0x00});
    EXPECT_FALSE(Probe().TapEnabled());
}

TEST_F(RequestsTest, TapSwitchWithoutDataChangesNothing) {
    Ask(kMessageEventTap, {0x01});
    EXPECT_EQ(Ask(kMessageEventTap, {}), kNoReply);
    EXPECT_TRUE(Probe().TapEnabled());
}

TEST_F(RequestsTest, TapSwitchTakesTheFirstByteOfALongerPayload) {
    Ask(kMessageEventTap, {0x01, 0x00, 0x00});
    EXPECT_TRUE(Probe().TapEnabled());
}

TEST_F(RequestsTest, PointerIsAnsweredWhateverThePayload) {
    desktop->pointer = desktop::Point{100, 200};
    const Bytes expected = {100, 0, 0, 0, 200, 0, 0, 0};
    EXPECT_EQ(Ask(kMessagePointer, {}), expected);
    EXPECT_EQ(Ask(kMessagePointer, {1, 2, 3}), expected);
    EXPECT_EQ(Ask(kMessagePointer, Bytes(100000, 7)), expected);
}

TEST_F(RequestsTest, NeighbouringAndUnknownCodesAreIgnored) {
    for (const SInt32 code : {kMessageEventTap - 1, kMessageEventTap + 1, 0, -1, kMessageStatus,
                              kMessageConnect, kMessageKeyEvent}) {
        EXPECT_EQ(Ask(code, {0x01}), kNoReply) << std::hex << code;
    }
    EXPECT_FALSE(Probe().TapEnabled());
}

TEST_F(RequestsTest, WholeTitleReturnsTheFirstWindowAndMakesItMain) {
    ShowWindows({"Mixer", "Editor"});
    // Window 1 lies at (10, 11) and measures 310 by 210.
    EXPECT_EQ(Ask(kMessageWindow, WindowRequest("no such title", false)),
              (Bytes{10, 0, 0, 0, 11, 0, 0, 0, 0x36, 1, 0, 0, 210, 0, 0, 0}));
    EXPECT_THAT(desktop->calls, Contains("main 1"));
}

TEST_F(RequestsTest, TitleThatMatchesNoWindowReturnsNoData) {
    ShowWindows({"Mixer", "Editor"});
    EXPECT_EQ(Ask(kMessageWindow, WindowRequest("Mixer", true)), kNoReply);
}

TEST_F(RequestsTest, WindowRequestThatIsNotWholeIsRefused) {
    ShowWindows({"Mixer"});
    desktop->calls.clear();
    for (const Bytes& payload :
         {Bytes{}, Bytes{0}, Bytes{0, 0, 0, 0}, Bytes{0, 0, 0, 0, 'M', 'i'}}) {
        EXPECT_EQ(Ask(kMessageWindow, payload), kNoReply);
    }
    EXPECT_THAT(desktop->calls, testing::IsEmpty());
}

TEST_F(RequestsTest, BytesBehindAWindowRequestAreIgnored) {
    ShowWindows({"Mixer"});
    Bytes payload = WindowRequest("Mixer", false);
    payload.insert(payload.end(), 1000, 'x');
    EXPECT_NE(Ask(kMessageWindow, payload), kNoReply);
}

TEST_F(RequestsTest, TargetWindowAnswersIndexPositionAndSize) {
    ShowWindows({"Something", "Edit Window"});
    ZYN_Driver_TargetWindowInfo records[3] = {};
    std::snprintf(records[0].titleKey, sizeof records[0].titleKey, "Mix");
    std::snprintf(records[1].titleKey, sizeof records[1].titleKey, "Edit");
    std::snprintf(records[2].titleKey, sizeof records[2].titleKey, "Window");
    STargetWindowRequestSpec request(records, 3);
    const unsigned char* bytes = request.Serialize();
    const Bytes payload(bytes, bytes + request.SerialBufferSize());
    // Window 2 lies at (20, 21) and measures 320 by 220.
    EXPECT_EQ(Ask(kMessageTargetWindow, payload),
              (Bytes{1, 0, 0, 0, 20, 0, 0, 0, 21, 0, 0, 0, 0x40, 1, 0, 0, 220, 0, 0, 0}));
}

TEST_F(RequestsTest, TargetRequestThatIsNotWholeIsRefused) {
    ShowWindows({"Edit"});
    desktop->calls.clear();
    const Bytes oneMissing = {1, 0, 0, 0};
    const Bytes tooMany = {0xFF, 0xFF, 0xFF, 0x7F, 'E', 0};
    const Bytes unterminated = {1, 0, 0, 0, 'E', 'd', 'i', 't'};
    for (const Bytes& payload : {Bytes{}, Bytes{0, 0, 0}, oneMissing, tooMany, unterminated}) {
        EXPECT_EQ(Ask(kMessageTargetWindow, payload), kNoReply);
    }
    EXPECT_THAT(desktop->calls, testing::IsEmpty());
}

TEST_F(RequestsTest, EmptyCandidateListGetsNoData) {
    ShowWindows({"Edit"});
    EXPECT_EQ(Ask(kMessageTargetWindow, {0, 0, 0, 0}), kNoReply);
}

TEST_F(RequestsTest, LentWindowListsGoWhenTheRequestEnds) {
    ShowWindows({"Mixer"});
    Ask(kMessageWindow, WindowRequest("Mixer", false));
    EXPECT_EQ(Probe().LentWindowLists(), 0U);
}

}  // namespace
}  // namespace kivo::test
