// The program that decides on keys, as the control center runs it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

#include "tools/kivoctl/Adviser.h"

namespace kivo::ctl {
namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr KeyEvent kKey{0x0B, 0, true};

/// The first answer that comes in time, for the shell may still be starting.
std::optional<bool> FirstAnswer(Adviser* adviser) {
    const auto deadline = steady_clock::now() + seconds(20);
    std::optional<bool> answer;
    while (!answer && steady_clock::now() < deadline)
        answer = adviser->LetsThrough(kKey);
    return answer;
}

TEST(KivoCtlAdviserTest, ItsAnswersDecide) {
    Adviser yes("while read -r question; do echo pass; done");
    EXPECT_EQ(FirstAnswer(&yes), true);
    Adviser no("while read -r question; do echo swallow; done");
    EXPECT_EQ(FirstAnswer(&no), false);
}

TEST(KivoCtlAdviserTest, ItIsToldOfTheKey) {
    Adviser adviser(
        "while read -r line; do case $line in *'\"keyCode\":11,'*) echo p;; *) echo s; esac; done");
    EXPECT_EQ(FirstAnswer(&adviser), true);
}

TEST(KivoCtlAdviserTest, OneThatHasGoneAnswersNothing) {
    std::signal(SIGPIPE, SIG_IGN);  // as the program itself does
    Adviser adviser("exit");
    const auto deadline = steady_clock::now() + seconds(20);
    // At first the question may still be taken by a shell that is about to end.
    while (steady_clock::now() < deadline && adviser.LetsThrough(kKey)) {
    }
    EXPECT_EQ(adviser.LetsThrough(kKey), std::nullopt);
}

TEST(KivoCtlAdviserTest, WhatItStartedEndsWithIt) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    for (const int end : ends)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    // Held by the program and by what it starts: at its end when both have gone.
    ASSERT_EQ(dup2(ends[1], STDERR_FILENO), STDERR_FILENO);
    close(ends[1]);
    {
        Adviser adviser("sleep 60 & while read -r question; do echo p; done");
        EXPECT_EQ(FirstAnswer(&adviser), true);
    }
    ASSERT_EQ(dup2(STDOUT_FILENO, STDERR_FILENO), STDERR_FILENO);
    pollfd reading{ends[0], POLLIN, 0};
    EXPECT_EQ(poll(&reading, 1, 20000), 1);
    char letter = 0;
    EXPECT_EQ(read(ends[0], &letter, 1), 0);
    close(ends[0]);
}

TEST(KivoCtlAdviserTest, ItHasNoDescriptorOfOurs) {
    for (int others = 3; others < 10; ++others)
        fcntl(others, F_SETFD, FD_CLOEXEC);
    Adviser adviser(
        "for i in 3 4 5 6 7 8 9; do (: >&$i) 2>/dev/null && answer=s; done; "
        "while read -r question; do echo ${answer-p}; done");
    EXPECT_EQ(FirstAnswer(&adviser), true);
}

}  // namespace
}  // namespace kivo::ctl
