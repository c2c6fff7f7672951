#pragma once

#include "tests/desktop/XSession.h"

namespace kivo::test {

/// Says of windows what a window manager says, word for word as a test has it, and does nothing.
class ScriptedManager {
  public:
    explicit ScriptedManager(XClient& client) : mClient(client) {
        mProof = client.Create({});
        client.SetValues(mProof, "_NET_SUPPORTING_WM_CHECK", "WINDOW", {mProof});
        client.SetValues(client.Root(), "_NET_SUPPORTING_WM_CHECK", "WINDOW", {mProof});
    }

    /// Back to front.
    void List(const std::vector<xcb_window_t>& windows) {
        mClient.SetValues(mClient.Root(), "_NET_CLIENT_LIST", "WINDOW", windows);
        mClient.SetValues(mClient.Root(), "_NET_CLIENT_LIST_STACKING", "WINDOW", windows);
    }
    void MakeActive(xcb_window_t window) {
        mClient.SetValues(mClient.Root(), "_NET_ACTIVE_WINDOW", "WINDOW", {window});
    }
    /// What some say by no window, others by no property.
    void MakeNobodyActive() { MakeActive(XCB_WINDOW_NONE); }
    void TakeActiveAway() { mClient.Delete(mClient.Root(), "_NET_ACTIVE_WINDOW"); }
    /// As after a crash: what it said stays, the proof that it runs does not.
    void Die() { mClient.Destroy(mProof); }

  private:
    XClient& mClient;
    xcb_window_t mProof;
};

}  // namespace kivo::test
