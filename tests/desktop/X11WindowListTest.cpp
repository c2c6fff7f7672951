#include "tests/desktop/X11DesktopTest.h"

namespace kivo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr std::uint32_t kAllWorkspaces = 0xFFFFFFFF;

class X11WindowListTest : public X11ManagersTest {};

/// What only managers have whose windows lie on each other and can be minimised.
class X11StackingTest : public X11ManagersTest {};

TEST_P(X11WindowListTest, HoldsTheWindowsOfOneProcess) {
    const auto one = Start({{.title = "first"}, {.title = "second"}});
    const auto other = Start({{.title = "third"}});
    EXPECT_THAT(TitlesOf(one.ProcessID()), UnorderedElementsAre("first", "second"));
    EXPECT_THAT(TitlesOf(other.ProcessID()), ElementsAre("third"));
}

TEST_P(X11WindowListTest, IsEmptyForAProcessWithoutWindows) {
    const auto one = Start({{.title = "first"}});
    EXPECT_THAT(ListOf(getpid()), IsEmpty());
    EXPECT_THAT(ListOf(-1), IsEmpty());
    EXPECT_THAT(ListOf(0), IsEmpty());
}

TEST_P(X11StackingTest, ListIsInFrontToBackOrder) {
    const auto one = Start({{.title = "first"}, {.title = "second"}, {.title = "third"}});
    for (const std::size_t index : {0u, 2u, 1u}) {
        ASSERT_TRUE(MakeMain(one.Window(index)));
    }
    EXPECT_TRUE(Await([&] {
        return TitlesOf(one.ProcessID()) == std::vector<std::string>{"second", "third", "first"};
    }));
}

TEST_P(X11WindowListTest, HoldsDialogsAndUtilitiesButNoDocksAndDesktops) {
    const auto one = Start({{.title = "normal"},
                            {.title = "dialog"},
                            {.title = "utility"},
                            {.title = "dock"},
                            {.title = "desktop"}});
    // Changed when they are managed, for some managers leave docks and desktops out by themselves.
    const std::pair<std::size_t, const char*> types[] = {{1, "_NET_WM_WINDOW_TYPE_DIALOG"},
                                                         {2, "_NET_WM_WINDOW_TYPE_UTILITY"},
                                                         {3, "_NET_WM_WINDOW_TYPE_DOCK"},
                                                         {4, "_NET_WM_WINDOW_TYPE_DESKTOP"}};
    for (const auto& [index, type] : types) {
        mClient->SetValues(one.Window(index), "_NET_WM_WINDOW_TYPE", "ATOM", {mClient->Atom(type)});
    }
    EXPECT_THAT(TitlesOf(one.ProcessID()), UnorderedElementsAre("normal", "dialog", "utility"));
}

TEST_P(X11StackingTest, ListHoldsMinimisedWindows) {
    constexpr std::uint32_t kIconic = 3;
    const auto one = Start({{.title = "shown"}, {.title = "minimised"}});
    mClient->Send(one.Window(1), "WM_CHANGE_STATE", {kIconic});
    ASSERT_TRUE(Await([&] {
        const auto state = mClient->Values(one.Window(1), "WM_STATE");
        return !state.empty() && state.front() == kIconic;
    }));
    EXPECT_THAT(TitlesOf(one.ProcessID()), UnorderedElementsAre("shown", "minimised"));
}

TEST_P(X11WindowListTest, LeavesOutWindowsOfOtherWorkspaces) {
    const auto one = Start({{.title = "here"}, {.title = "there"}, {.title = "everywhere"}});
    if (Is("i3")) {
        ASSERT_TRUE(MakeMain(one.Window(1)));
        Process move({"i3-msg", "move container to workspace 2"});
        ASSERT_TRUE(Await([&] {
            return mClient->Values(one.Window(1), "_NET_WM_DESKTOP") ==
                   std::vector<std::uint32_t>{1};
        }));
    } else {
        constexpr std::uint32_t kFromPager = 2;
        mClient->Send(one.Window(1), "_NET_WM_DESKTOP", {1, kFromPager});
    }
    ASSERT_TRUE(Await([&] {
        return mClient->Values(one.Window(1), "_NET_WM_DESKTOP") == std::vector<std::uint32_t>{1};
    }));
    mClient->SetValues(one.Window(2), "_NET_WM_DESKTOP", "CARDINAL", {kAllWorkspaces});
    EXPECT_THAT(TitlesOf(one.ProcessID()), UnorderedElementsAre("here", "everywhere"));
}

TEST_P(X11WindowListTest, ReadsTitlesInEachEncoding) {
    const auto one = Start({
        {.title = "Grüße \u65e5\u672c \U0001F3B9", .oldTitle = "old"},
        {.oldTitle = "Latin \xE9\xFF"},
        {.oldTitle = "older UTF-8 \u00e9", .oldTitleType = "UTF8_STRING"},
        {.oldTitle = "compound \xE9 \x1B%G\u65e5\x1B%@ \x1B-B\xB1",
         .oldTitleType = "COMPOUND_TEXT"},
        {.title = "bad \xFF\xC3( \xE2\x82"},
        {.title = std::string("cut\0off", 7)},
        {.className = "untitled"},
    });
    EXPECT_THAT(TitlesOf(one.ProcessID()),
                UnorderedElementsAre("Grüße \u65e5\u672c \U0001F3B9", "Latin \u00e9\u00ff",
                                     "older UTF-8 \u00e9", "compound \u00e9 \u65e5 \u0105",
                                     "bad \uFFFD\uFFFD( \uFFFD", "cut", ""));
    std::vector<std::string> again;
    for (const Window& window : ListOf(one.ProcessID())) {
        EXPECT_EQ(mDesktop->Title(window.id, again.emplace_back()), Status::kOk);
    }
    EXPECT_EQ(again, TitlesOf(one.ProcessID())) << "one by one they are the same";
}

TEST_P(X11WindowListTest, ReadsLongTitlesUpToALimit) {
    const auto one = Start({{.title = std::string(60000, 'x')}});
    EXPECT_THAT(TitlesOf(one.ProcessID()), ElementsAre(std::string(60000, 'x')));
    mClient->SetText(one.Window(), "_NET_WM_NAME", "UTF8_STRING", std::string(100000, 'y'));
    EXPECT_THAT(TitlesOf(one.ProcessID()), ElementsAre(std::string(65536, 'y')));
}

TEST_P(X11WindowListTest, KeepsNothingFromOneListToTheNext) {
    const auto one = Start({{.title = "before"}, {.title = "other"}});
    EXPECT_THAT(TitlesOf(one.ProcessID()), UnorderedElementsAre("before", "other"));
    mClient->SetText(one.Window(0), "_NET_WM_NAME", "UTF8_STRING", "after");
    EXPECT_THAT(TitlesOf(one.ProcessID()), UnorderedElementsAre("after", "other"));
    mClient->Destroy(one.Window(1));
    EXPECT_THAT(TitlesOf(one.ProcessID()), ElementsAre("after"))
        << "a window that is gone is left out even while the manager still lists it";
}

TEST_P(X11WindowListTest, TrustsTheServerMoreThanTheClaimForTheProcess) {
    const auto one = Start({{.title = "liar", .claimedProcessID = 1}});
    EXPECT_THAT(TitlesOf(one.ProcessID()), ElementsAre("liar"));
    EXPECT_THAT(ListOf(1), IsEmpty());
}

TEST_P(X11WindowListTest, WindowsThatAreGoneAnswerSo) {
    const auto one = Start({{.title = "first"}});
    mClient->Destroy(one.Window());
    std::string title = "untouched";
    Rect frame;
    EXPECT_EQ(mDesktop->Title(one.Window(), title), Status::kWindowGone);
    EXPECT_EQ(title, "untouched");
    EXPECT_EQ(mDesktop->Frame(one.Window(), frame), Status::kWindowGone);
    EXPECT_EQ(mDesktop->MakeMain(one.Window()), Status::kWindowGone);
}

INSTANTIATE_TEST_SUITE_P(Managers, X11WindowListTest, kManagers, ManagerName);
INSTANTIATE_TEST_SUITE_P(Managers, X11StackingTest, kStackingManagers, ManagerName);

}  // namespace
}  // namespace kivo::test
