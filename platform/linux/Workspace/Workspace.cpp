#include "Workspace.h"

#include <CoreFoundation/CFRuntime.h>
#include <CoreFoundation/CFStringSeams.h>
#include <CoreFoundation/RunLoopSeams.h>
#include <CoreFoundation/WithoutExceptions.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "CFRef.h"
#include "desktop/Desktop.h"
#include "keyboard/KeyTap.h"

namespace kivo {
namespace {

CFTypeID ApplicationTypeID() {
    static const CFTypeID id = RegisterType("WorkspaceApplication");
    return id;
}

/// A running application as it was when it was asked for.
class RunningApplication final : public CFObject {
  public:
    /// Makes an application under the Create rule.
    static WorkspaceApplicationRef Create(desktop::Application application) {
        const CFObject* made = new RunningApplication(std::move(application));
        return made;
    }
    static const desktop::Application& ValuesOf(WorkspaceApplicationRef application) {
        return static_cast<const RunningApplication&>(AsObject(application)).mValues;
    }

    CFTypeID TypeID() const override { return ApplicationTypeID(); }

  private:
    explicit RunningApplication(desktop::Application&& values) : mValues(std::move(values)) {}

    const desktop::Application mValues;
};

CFDictionaryRef CreateDictionary(const std::map<std::string, std::string>& entries) {
    std::vector<CFRef<CFStringRef>> owned;
    std::vector<const void*> keys;
    std::vector<const void*> values;
    for (const auto& [key, value] : entries) {
        keys.push_back(owned.emplace_back(Adopt(CreateStringFromUtf8(key))).Get());
        values.push_back(owned.emplace_back(Adopt(CreateStringFromUtf8(value))).Get());
    }
    return CFDictionaryCreate(nullptr, keys.data(), values.data(),
                              static_cast<CFIndex>(keys.size()), &kCFTypeDictionaryKeyCallBacks,
                              &kCFTypeDictionaryValueCallBacks);
}

CFArrayRef CreateArray(std::vector<desktop::Application>&& applications) {
    std::vector<CFRef<CFTypeRef>> owned;
    std::vector<CFTypeRef> elements;
    for (desktop::Application& application : applications) {
        owned.push_back(Adopt(RunningApplication::Create(std::move(application))));
        elements.push_back(owned.back().Get());
    }
    return CFArrayCreate(nullptr, elements.data(), static_cast<CFIndex>(elements.size()),
                         &kCFTypeArrayCallBacks);
}

/// Those who want to hear of activations. One may stop, or another join, from a callback: the one
/// who stopped hears nothing more, the one who joined hears of the next activation.
class Observers {
  public:
    void Add(WorkspaceActivationCallBack callback, void* info) {
        mObservers.emplace_back(callback, info);
        if (mObservers.size() > 1) return;
        desktop::Current().ObserveActivations(
            [this](const desktop::Application& application) { Tell(application); });
    }

    void Remove(void* info) {
        if (std::erase_if(mObservers, [info](const Observer& one) { return one.second == info; }) &&
            mObservers.empty()) {
            desktop::Current().ObserveActivations(nullptr);
        }
    }

  private:
    using Observer = std::pair<WorkspaceActivationCallBack, void*>;

    void Tell(const desktop::Application& values) {
        const auto application = Adopt(RunningApplication::Create(values));
        const std::vector<Observer> observers = mObservers;
        for (const Observer& one : observers) {
            if (std::find(mObservers.begin(), mObservers.end(), one) == mObservers.end()) continue;
            one.first(application.Get(), one.second);
        }
    }

    std::vector<Observer> mObservers;
};

Observers& ActivationObservers() {
    static Observers observers;
    return observers;
}

}  // namespace
}  // namespace kivo

using kivo::RunningApplication;
using kivo::WithoutExceptions;

WorkspaceApplicationRef Workspace_CopyFrontmostApplication() {
    return WithoutExceptions<WorkspaceApplicationRef>(nullptr, []() -> WorkspaceApplicationRef {
        auto front = kivo::desktop::Current().FrontApplication();
        return front ? RunningApplication::Create(std::move(*front)) : nullptr;
    });
}

pid_t Workspace_GetProcessIdentifier(WorkspaceApplicationRef application) {
    return RunningApplication::ValuesOf(application).processID;
}

CFStringRef Workspace_CopyBundleIdentifier(WorkspaceApplicationRef application) {
    const std::string& bundleID = RunningApplication::ValuesOf(application).bundleID;
    return bundleID.empty() ? nullptr : kivo::CreateStringFromUtf8(bundleID);
}

CFDictionaryRef Workspace_CopyInfoDictionary(WorkspaceApplicationRef application) {
    return WithoutExceptions<CFDictionaryRef>(nullptr, [&]() -> CFDictionaryRef {
        const auto& values = RunningApplication::ValuesOf(application);
        return values.hasBundle ? kivo::CreateDictionary(values.info) : nullptr;
    });
}

CFArrayRef Workspace_CopyRunningApplications(CFStringRef bundleIdentifier) {
    return WithoutExceptions<CFArrayRef>(nullptr, [&]() -> CFArrayRef {
        if (bundleIdentifier == nullptr) return nullptr;
        const std::string bundleID = kivo::Utf8Of(bundleIdentifier);
        return kivo::CreateArray(kivo::desktop::Current().RunningApplications(bundleID));
    });
}

void Workspace_ObserveActivations(WorkspaceActivationCallBack callback, void* info) {
    WithoutExceptions([&] { kivo::ActivationObservers().Add(callback, info); });
}

void Workspace_StopObservingActivations(void* info) {
    WithoutExceptions([&] { kivo::ActivationObservers().Remove(info); });
}

CGPoint Workspace_GetPointerLocation() {
    return WithoutExceptions(CGPoint{0, 0}, [] {
        kivo::desktop::Desktop& desktop = kivo::desktop::Current();
        const auto pointer = desktop.Pointer();
        if (!pointer) return CGPoint{0, 0};
        // The desktop counts from the top of the primary screen, macOS from its bottom.
        const auto screen = desktop.PrimaryScreen();
        return CGPoint{pointer->x, (screen ? screen->height : 0) - pointer->y};
    });
}

bool Workspace_GetMainScreenFrame(CGRect* frame) {
    return WithoutExceptions(false, [&] {
        const auto screen = kivo::desktop::Current().PrimaryScreen();
        if (!screen) return false;
        *frame = {{screen->x, screen->y}, {screen->width, screen->height}};
        return true;
    });
}

void Workspace_SetKeyboardForwardingWanted(bool wanted) {
    WithoutExceptions([wanted] { kivo::keyboard::SetForwardingWanted(wanted); });
}

void Workspace_RunMainLoop() {
    kivo::RunUntilStopped();
}

void Workspace_StopMainLoop() {
    kivo::StopMainRun();
}
