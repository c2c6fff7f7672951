#pragma once

#include "platform/Workspace.h"

/// The questions about the frontmost application. Each works on the one observer, which the first
/// of them creates. Main thread only.

/// Records the application that is in front now and begins to follow activations.
void CFWorkspace_StartObservingFrontApplication();

/// The four-character signature; '????' for an application without one, 0 before the start.
unsigned int CFWorkspace_FrontApplicationSignature();

/// The process identifier as 32 bits: 0xFFFFFFFF stands for no application, 0 before the start.
unsigned int CFWorkspace_CurrentFrontApplicationPID();

/// Lend a string until the record changes. False, with the argument untouched, when there is none.
bool CFWorkspace_FrontApplicationBundleID(NSString** bundleID);
bool CFWorkspace_FrontApplicationShortVersion(NSString** shortVersion);

/// Whether an application was activated since this was last true; if so, the signature and the
/// bundle identifier, lent until the record changes and perhaps null. Else both are untouched.
bool CFWorkspace_ChangedFrontApplicationSignatureAndID(unsigned int* signature,
                                                       NSString** bundleID);

/// The same two values at any time; says and changes nothing about a change.
void CFWorkspace_CurrentFrontApplicationSignatureAndID(unsigned int* signature,
                                                       NSString** bundleID);
