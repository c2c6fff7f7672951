#include "bench/keys/MinimalLoop.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "bench/keys/Cores.h"

namespace kivo::bench {
namespace {

void Answer(int socket) {
    std::array<char, 24> question{};
    const char answer = 1;
    while (recv(socket, question.data(), question.size(), 0) > 0) {
        send(socket, &answer, 1, 0);
    }
}

void Ask(int socket) {
    const std::array<char, 24> question{};
    char answer = 0;
    send(socket, question.data(), question.size(), 0);
    recv(socket, &answer, 1, 0);
}

}  // namespace

MinimalLoop::MinimalLoop(const std::function<void(const Asker&)>& hold) {
    std::array<int, 2> pair{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, pair.data()) != 0) std::abort();
    {
        const OnOtherCore otherCore;
        mAnswering = test::Process([&] {
            close(pair[0]);
            Answer(pair[1]);
        });
    }
    mHolding = test::Process([&] { hold([&] { Ask(pair[0]); }); });
    close(pair[0]);
    close(pair[1]);
}

}  // namespace kivo::bench
