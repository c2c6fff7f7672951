// Questions to the daemon about windows, beside what the X server and other tools take for them.

#include <sys/wait.h>

#include <filesystem>
#include <stdexcept>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "bench/Program.h"
#include "bench/requests/BareRequests.h"
#include "bench/requests/Daemon.h"
#include "tests/desktop/XSession.h"

namespace kivo::bench {
namespace {

constexpr std::size_t kWindowReply = 16;  // bytes

std::vector<unsigned char> PayloadOf(SMessageSpec& spec) {
    const unsigned char* bytes = spec.Serialize();
    return {bytes, bytes + spec.SerialBufferSize()};
}

std::vector<unsigned char> WindowRequest() {
    std::string title = "Benchmark window 0";
    SWindowRequestSpec spec(title, false);
    return PayloadOf(spec);
}

/// A candidate that no window fits, so that every title is read and compared.
std::vector<unsigned char> ListRequest() {
    ZYN_Driver_TargetWindowInfo candidate = {};
    std::snprintf(candidate.titleKey, sizeof candidate.titleKey, "no such title");
    STargetWindowRequestSpec spec(&candidate, 1);
    return PayloadOf(spec);
}

/// An application with many windows in an X session of the benchmark's own. One of them stays above
/// the others, so it is the first of the list whichever is active.
class Scene {
  public:
    explicit Scene(std::size_t windowCount) : mApplication(ManyWindows(windowCount)) {
        mClient.Send(Front(), "_NET_WM_STATE",
                     {1, mClient.Atom("_NET_WM_STATE_ABOVE"), 0, kFromPager});
        const auto isReady = [&] {
            const auto list = mClient.Values(mClient.Root(), "_NET_CLIENT_LIST_STACKING");
            return list.size() == mApplication.Count() && list.back() == Front();
        };
        if (!test::Await(isReady)) throw std::runtime_error("the windows do not come up");
    }

    xcb_window_t Front() const { return mApplication.Window(0); }
    xcb_window_t Other() const { return mApplication.Window(mApplication.Count() - 1); }

  private:
    static constexpr std::uint32_t kFromPager = 2;

    test::TestApplication mApplication;
    test::XClient mClient;
};

/// In each round another window is active before, so that the activation has to be awaited. The
/// daemon hears of that one too: an answer of its own says that it has done with it.
Comparison WindowByTitle(const std::string& program, std::size_t windowCount) {
    const Scene scene(windowCount);
    BareRequests bare;
    bare.Activate(scene.Other());
    Daemon daemon(program);
    daemon.Await(kMessageFrontBundleID);
    const auto request = WindowRequest();
    return Compare(
        "zwip_vs_xcb_" + std::to_string(windowCount), 1.5, 200,
        [&] {
            bare.Activate(scene.Other());
            daemon.Ask(kMessagePointer, {});
        },
        [&] {
            if (daemon.Ask(kMessageWindow, request) != kWindowReply) {
                throw std::runtime_error("the daemon found no window");
            }
        },
        [&] { bare.FindWindow(); });
}

void RunToEnd(const std::vector<std::string>& command) {
    const test::Process process(command);
    waitpid(process.ID(), nullptr, 0);
}

/// The list of 200 windows with their titles, by the daemon and by a tool.
Comparison WindowList(const std::string& program, const std::string& key, double aim, int rounds,
                      const std::vector<std::string>& tool) {
    const Scene scene(200);
    BareRequests().Activate(scene.Other());
    Daemon daemon(program);
    daemon.Await(kMessageFrontBundleID);
    const auto request = ListRequest();
    return Compare(
        key, aim, rounds, [&] { daemon.Ask(kMessageTargetWindow, request); },
        [&] { RunToEnd(tool); });
}

std::vector<Comparison> Measure() {
    const std::string program =
        (std::filesystem::canonical("/proc/self/exe").parent_path() / "kivo-driver").string();
    const test::XServer server;
    const test::RunningWindowManager manager("openbox");
    std::vector<Comparison> comparisons;
    comparisons.push_back(WindowByTitle(program, 20));
    comparisons.push_back(WindowByTitle(program, 200));
    comparisons.push_back(WindowList(program, "list_vs_wmctrl_200", 0.1, 20, {"wmctrl", "-lGp"}));
    comparisons.push_back(WindowList(program, "list_vs_xdotool_200", 0.02, 5,
                                     {"xdotool", "search", "--onlyvisible", "--name", "."}));
    return comparisons;
}

}  // namespace
}  // namespace kivo::bench

int main(int argc, char** argv) {
    return kivo::bench::RunProgram(argc, argv, kivo::bench::Measure);
}
