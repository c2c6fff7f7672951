#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

class PointerTest : public DriverTest {
  protected:
    void SetUp() override { StartDriver(); }

    /// Where the driver says the pointer is, for a location with the origin at the top left.
    CGPoint Ask(double x, double y, double screenHeight) {
        desktop->screen = desktop::Rect{0, 0, 1920, screenHeight};
        desktop->pointer = desktop::Point{x, y};
        CGPoint point = {-7, -7};
        driver->GetGlobalMouse(&point);
        return point;
    }
};

TEST_F(PointerTest, BottomEdgeOfTheScreenIsItsHeight) {
    EXPECT_EQ(Ask(0, 900, 900).y, 900);
}

TEST_F(PointerTest, FractionsAreKeptUntilTheReply) {
    const CGPoint point = Ask(100.7, 879.8, 1080);
    EXPECT_DOUBLE_EQ(point.x, 100.7);
    EXPECT_DOUBLE_EQ(point.y, 879.8);
    EXPECT_EQ(DriverTest::Ask(kMessagePointer, {}), (Bytes{100, 0, 0, 0, 0x6F, 3, 0, 0}));
}

TEST_F(PointerTest, PointerAboveTheMainScreenIsNegative) {
    EXPECT_EQ(Ask(5, -30, 900).y, -30);
    EXPECT_EQ(DriverTest::Ask(kMessagePointer, {}), (Bytes{5, 0, 0, 0, 0xE2, 0xFF, 0xFF, 0xFF}));
}

TEST_F(PointerTest, WithoutAScreenTheLocationIsFlippedAtZero) {
    desktop->screen.reset();
    desktop->pointer = desktop::Point{11, 22};
    CGPoint point;
    driver->GetGlobalMouse(&point);
    EXPECT_EQ(point.x, 11);
    EXPECT_EQ(point.y, -Workspace_GetPointerLocation().y);
}

}  // namespace
}  // namespace kivo::test
