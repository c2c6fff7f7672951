#include <csignal>

#include "driver/CFWorkspace.h"
#include "driver/CZYN_UserSpaceDriver.h"
#include "platform/Workspace.h"

int main() {
    // A failure changes nothing: the daemon then ends without saying good-bye.
    std::signal(SIGINT, CZYN_UserSpaceDriver::SignalHandler);
    auto* driver = new CZYN_UserSpaceDriver();
    CFWorkspace_StartObservingFrontApplication();
    Workspace_RunMainLoop();
    delete driver;
    return 0;
}
