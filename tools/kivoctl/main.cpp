#include <csignal>
#include <string>
#include <vector>

#include "tools/kivoctl/Commands.h"

int main(int argc, char** argv) {
    // A reader who has gone is noticed at the write, so that the port is given up in good order.
    std::signal(SIGPIPE, SIG_IGN);
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    return static_cast<int>(kivo::ctl::RunCommandLine(words));
}
