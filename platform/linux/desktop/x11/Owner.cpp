#include "desktop/x11/Owner.h"

#include <algorithm>

#include "desktop/x11/WindowList.h"

namespace kivo::desktop::x11 {
namespace {

/// What a window says of its application, being asked for.
class ClaimsRequest {
  public:
    ClaimsRequest(Question& question, xcb_window_t window)
        : mGtk(AskText(question, window, question.Names().gtkApplicationID)),
          mKde(AskText(question, window, question.Names().kdeDesktopFile)),
          mClass(AskText(question, window, XCB_ATOM_WM_CLASS)) {}

    Claims Take(const Atoms& names) {
        Claims claims;
        claims.applicationID = TextOf(names, mGtk.Take()).value_or("");
        const std::string desktopFile = TextOf(names, mKde.Take()).value_or("");
        if (claims.applicationID.empty()) claims.applicationID = desktopFile;
        auto classes = TextsOf(names, mClass.Take());
        classes.resize(2);
        claims.instance = std::move(classes[0]);
        claims.className = std::move(classes[1]);
        return claims;
    }

  private:
    static PropertyRequest AskText(Question& question, xcb_window_t window, xcb_atom_t property) {
        return AskProperty(question, window, property, XCB_ATOM_ANY);
    }

    PropertyRequest mGtk;
    PropertyRequest mKde;
    PropertyRequest mClass;
};

/// Asks who owns a window that is the active one.
std::optional<Owner> OwnerOf(Question& question, xcb_window_t window,
                             const ProcessIDs& processIDs) {
    ClaimsRequest claims(question, window);
    auto types = AskProperty(question, window, question.Names().windowType, XCB_ATOM_ATOM);
    auto claimedID = AskProperty(question, window, question.Names().windowPID, XCB_ATOM_CARDINAL);
    const PropertyReply typesReply = types.Take();
    if (typesReply == nullptr || IsDesktopOrDock(question.Names(), typesReply)) {
        return std::nullopt;
    }
    const auto processID = processIDs.Of(window);
    const pid_t claimed = ClaimedProcessID(FirstValueOf(claimedID.Take()));
    return Owner{processID.value_or(claimed), claims.Take(question.Names())};
}

}  // namespace

Application Owner::Identified(const DesktopFiles::Index& index) const {
    Claims all = claims;
    all.executable = ExecutableOf(processID);
    return Identify(index, processID, all);
}

bool ReadFrontOwner(Question& question, WindowManager& manager, std::optional<Owner>& owner) {
    owner.reset();
    auto check = manager.Ask(question);
    auto active = AskProperty(question, question.Facts().root, question.Names().activeWindow,
                              XCB_ATOM_WINDOW);
    ProcessIDs processIDs(question);
    if (!manager.IsRunning(question, check)) return question.IsAnswered();
    const auto window = FirstValueOf(active.Take());
    processIDs.Read();
    if (question.IsAnswered() && window && *window != XCB_WINDOW_NONE) {
        owner = OwnerOf(question, *window, processIDs);
    }
    return question.IsAnswered();
}

std::vector<Owner> ReadOwners(Question& question, WindowManager& manager) {
    const ManagedWindows managed(question, manager);
    const std::span windows(managed.FrontToBack());
    std::vector<Owner> owners;
    for (std::size_t begin = 0; begin < windows.size() && question.IsAnswered(); begin += kBatch) {
        const auto batch = windows.subspan(begin, std::min(kBatch, windows.size() - begin));
        std::vector<ClaimsRequest> requests;
        requests.reserve(batch.size());
        for (const ManagedWindow& one : batch) {
            requests.emplace_back(question, one.window);
        }
        for (std::size_t i = 0; i < batch.size(); ++i) {
            owners.push_back({batch[i].processID, requests[i].Take(question.Names())});
        }
    }
    return owners;
}

}  // namespace kivo::desktop::x11
