#include <cstdio>
#include <cstring>

namespace {

constexpr char kHelp[] =
    "Usage: kivoctl --help | --version\n"
    "\n"
    "Speaks to the Kivo driver daemon in the place of a control center.\n";

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
        std::fputs(kHelp, stdout);
        return 0;
    }
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::puts("kivoctl " KIVO_VERSION);
        return 0;
    }
    std::fputs("kivoctl: say what to do; see kivoctl --help\n", stderr);
    return 2;
}
