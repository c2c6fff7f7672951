#include "platform/Workspace.h"

// The tap sees every key anyhow, and lets pass what is not to be forwarded.
void Workspace_SetKeyboardForwardingWanted(bool) {}
