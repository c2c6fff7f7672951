#include "driver/CFWorkspace.h"

#include "driver/ZYN_Driver_FrontAppObserver.h"

namespace {

ZYN_Driver_FrontAppObserver& Observer() {
    return *ZYN_Driver_FrontAppObserver::frontAppObserver();
}

bool LendIfPresent(NSString* string, NSString** place) {
    if (string == nullptr) return false;
    *place = string;
    return true;
}

}  // namespace

void CFWorkspace_StartObservingFrontApplication() {
    Observer().observe();
}

unsigned int CFWorkspace_FrontApplicationSignature() {
    return Observer().signature();
}

unsigned int CFWorkspace_CurrentFrontApplicationPID() {
    return static_cast<unsigned int>(Observer().processID());
}

bool CFWorkspace_FrontApplicationBundleID(NSString** bundleID) {
    return LendIfPresent(Observer().bundleID(), bundleID);
}

bool CFWorkspace_FrontApplicationShortVersion(NSString** shortVersion) {
    return LendIfPresent(Observer().shortVersion(), shortVersion);
}

bool CFWorkspace_ChangedFrontApplicationSignatureAndID(unsigned int* signature,
                                                       NSString** bundleID) {
    if (!Observer().frontAppChanged()) return false;
    Observer().setFrontAppChanged(false);
    CFWorkspace_CurrentFrontApplicationSignatureAndID(signature, bundleID);
    return true;
}

void CFWorkspace_CurrentFrontApplicationSignatureAndID(unsigned int* signature,
                                                       NSString** bundleID) {
    *signature = Observer().signature();
    *bundleID = Observer().bundleID();
}
