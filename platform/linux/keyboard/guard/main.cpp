#include <unistd.h>

#include <csignal>

#include "keyboard/guard/Guard.h"

namespace {

/// Whatever ends the daemon together with its guard, as a service manager does, must not end the
/// guard first: it goes when the daemon is gone. Nor does what stops the daemon's process group, as
/// a terminal does, stop the guard.
void OutliveTheDaemon() {
    setsid();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
        std::signal(signal, SIG_IGN);
    }
}

/// The daemon's other descriptors, its ports among them, are not for the guard.
void CloseInherited() {
    close_range(kivo::keyboard::kGuardSocket + 1, ~0U, 0);
}

}  // namespace

int main() {
    OutliveTheDaemon();
    CloseInherited();
    kivo::keyboard::Guard(kivo::keyboard::kGuardSocket).Run();
    return 0;
}
