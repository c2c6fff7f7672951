#include "desktop/x11/WindowManager.h"

namespace kivo::desktop::x11 {
namespace {

PropertyRequest AskProof(Question& question, xcb_window_t window) {
    return AskProperty(question, window, question.Names().supportingWMCheck, XCB_ATOM_WINDOW);
}

}  // namespace

WindowManager::Check::Check(Question& question, xcb_window_t expected)
    : mExpected(expected),
      mOnRoot(AskProof(question, question.Facts().root)),
      mOnExpected(AskProof(question, expected)) {}

bool WindowManager::IsRunning(Question& question, Check& check) {
    // EWMH: the root window's property names a window of the manager's, whose own property names
    // itself. That window goes with the manager.
    const auto proof = FirstValueOf(check.mOnRoot.Take());
    if (!proof) return false;
    const PropertyReply confirmation =
        *proof == check.mExpected ? check.mOnExpected.Take() : AskProof(question, *proof).Take();
    if (FirstValueOf(confirmation) != proof) return false;
    mProof = *proof;
    return true;
}

}  // namespace kivo::desktop::x11
