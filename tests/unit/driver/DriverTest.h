#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "driver/CFWorkspace.h"
#include "driver/CZYN_UserSpaceDriver.h"
#include "driver/ZYN_Driver_FrontAppObserver.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/ScriptedControlCenter.h"
#include "tests/support/ScriptedDesktop.h"
#include "tests/support/ScriptedSequencer.h"
#include "tests/support/VirtualClock.h"

/// The tests' view of the driver's fields.
struct DriverProbe {
    CZYN_UserSpaceDriver& driver;

    std::string Version() const { return driver.mVersion; }
    std::string Language() const { return driver.mLanguage; }
    void SetLanguage(const std::string& name) { name.copy(driver.mLanguage, 31); }
    bool LanguageSent() const { return driver.mLanguageSent; }
    bool TapEnabled() const { return driver.mTapEnabled; }
    bool HasTimer() const { return driver.mTimer != nullptr; }
    bool Connected() const { return driver.mConnected; }
    MIDIClientRef MIDIClient() const { return driver.mMIDIClient; }
    MIDIPortRef InputPort() const { return driver.mInputPort; }
    MIDIEndpointRef Source() const { return driver.mSource; }
    MIDIEndpointRef Destination() const { return driver.mDestination; }
    const void* RemotePort() const { return driver.mRemotePort; }
    std::size_t LentWindowLists() const { return driver.mLentWindowLists.size(); }
};

namespace kivo::test {

/// The daemon's code over a scripted desktop and sequencer, in virtual time, with a control center
/// in the same process where a test starts one.
class DriverTest : public testing::Test {
  protected:
    DriverTest() {
        auto scripted = std::make_unique<ScriptedDesktop>();
        desktop = scripted.get();
        desktop::Install(std::move(scripted));
        CapturedLog().clear();
    }

    ~DriverTest() override {
        driver.reset();
        controlCenter.reset();
        Run(0.001);  // lets the ends of the ports be noticed, so that none is found by the next
                     // test
        delete gSelf;
        gSelf = nullptr;
        desktop::Install(nullptr);
    }

    void StartControlCenter() { controlCenter = std::make_unique<ScriptedControlCenter>(); }

    /// Starts the daemon as its entry does.
    void StartDriver() {
        driver = std::make_unique<CZYN_UserSpaceDriver>();
        CFWorkspace_StartObservingFrontApplication();
    }

    /// Runs the loop for a while of virtual time.
    static void Run(double seconds) { CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, false); }

    /// A request by the same road as a control center's, decoded reply or none.
    std::optional<Bytes> Ask(SInt32 code, const Bytes& payload) {
        const auto data = Adopt(CFDataCreate(kCFAllocatorDefault, payload.data(),
                                             static_cast<CFIndex>(payload.size())));
        const auto reply =
            Adopt(CZYN_UserSpaceDriver::MessageCallbackEntry(nullptr, code, data.Get(), nullptr));
        if (!reply) return std::nullopt;
        return BytesOf(reply.Get());
    }

    DriverProbe Probe() { return DriverProbe{*driver}; }

    /// Puts an application in front whose windows carry these titles, numbered from 1 front to
    /// back.
    void ShowWindows(const std::vector<std::string>& titles) {
        constexpr pid_t kProcess = 4711;
        desktop->front = desktop::Application{kProcess, "org.example.front", false, {}};
        auto& windows = desktop->windows[kProcess];
        windows.clear();
        for (const std::string& title : titles) {
            const auto id = windows.size() + 1;
            const double offset = static_cast<double>(id) * 10;
            windows.push_back({id, title, {offset, offset + 1, 300 + offset, 200 + offset}});
        }
        if (gSelf != nullptr) desktop->Activate(*desktop->front);
    }
    ScriptedWindow& Window(std::size_t number) { return desktop->windows[4711][number - 1]; }

    VirtualClock clock;
    ScriptedSequencer sequencer;
    ScriptedDesktop* desktop = nullptr;
    std::unique_ptr<ScriptedControlCenter> controlCenter;
    std::unique_ptr<CZYN_UserSpaceDriver> driver;
};

}  // namespace kivo::test
