#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>

#include "platform/linux/desktop/x11/Relay.h"

namespace kivo::desktop::x11 {
namespace {

/// A server and a client at the two ends of a socket, with a relay in the client's place.
class X11RelayTest : public testing::Test {
  protected:
    X11RelayTest() {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
        mServer = ends[0];
        mClient = ends[1];
        mRelay = Relay::TakePlaceOf(mClient);
    }
    ~X11RelayTest() override {
        CloseServer();
        close(mClient);
    }

    void CloseServer() {
        if (mServer >= 0) close(mServer);
        mServer = -1;
    }

    /// A reply with as many bytes of data as `words` has of four.
    static std::string Packet(unsigned char type, std::uint32_t words) {
        std::string packet(32 + (type == 1 ? words * 4 : 0), 'x');
        packet[0] = static_cast<char>(type);
        std::memcpy(&packet[4], &words, sizeof words);
        return packet;
    }
    void SendFromServer(const std::string& bytes) const {
        ASSERT_EQ(send(mServer, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }
    static std::string ReadAll(int descriptor) {
        std::string bytes(1 << 20, '\0');
        const ssize_t count = recv(descriptor, bytes.data(), bytes.size(), 0);
        bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return bytes;
    }

    int mServer = -1;
    int mClient = -1;
    std::unique_ptr<Relay> mRelay;
};

TEST_F(X11RelayTest, AReplyIsHandedOnWhenItIsWhole) {
    const std::string reply = Packet(1, 3);
    for (std::size_t i = 0; i + 1 < reply.size(); ++i) {
        SendFromServer(reply.substr(i, 1));
        ASSERT_FALSE(mRelay->Receive()) << i;
        ASSERT_EQ(ReadAll(mClient), "") << i;
    }
    SendFromServer(reply.substr(reply.size() - 1));
    EXPECT_TRUE(mRelay->Receive());
    EXPECT_EQ(ReadAll(mClient), reply);
    EXPECT_FALSE(mRelay->Receive());
    EXPECT_FALSE(mRelay->IsBroken());
}

TEST_F(X11RelayTest, WholePacketsAreHandedOnWithoutTheBegunOne) {
    const std::string whole = Packet(0, 99) + Packet(28, 99) + Packet(1, 0) + Packet(1, 100);
    const std::string begun = Packet(1, 100).substr(0, 40);
    SendFromServer(whole + begun);
    EXPECT_TRUE(mRelay->Receive());
    EXPECT_TRUE(mRelay->Receive()) << "what is there to be read stays to be read";
    EXPECT_EQ(ReadAll(mClient), whole);
    EXPECT_FALSE(mRelay->Receive());
}

TEST_F(X11RelayTest, MoreThanIsHandedOnAtATimeComesInTurn) {
    std::string sent;
    std::string got;
    for (int i = 0; i < 40; ++i) {
        const std::string packet = Packet(1, 4000);
        SendFromServer(packet);
        sent += packet;
        while (mRelay->Receive()) {
            got += ReadAll(mClient);
        }
    }
    EXPECT_EQ(got, sent);
}

TEST_F(X11RelayTest, APacketMayBeAsLongAsTheLimit) {
    const std::string packet = Packet(1, (128 * 1024 - 32) / 4);
    SendFromServer(packet);
    ASSERT_TRUE(mRelay->Receive());
    EXPECT_EQ(ReadAll(mClient), packet);
}

TEST_F(X11RelayTest, ALongerReplyBecomesAnErrorAndTheNextOneComesWhole) {
    std::string reply = Packet(1, 1 << 20);
    reply[2] = 0x34;
    reply[3] = 0x12;
    const std::string next = Packet(1, 3);
    const std::string sent = reply + next;
    std::string got;
    for (std::size_t begin = 0; begin < sent.size(); begin += 50000) {
        SendFromServer(sent.substr(begin, 50000));
        while (mRelay->Receive()) {
            got += ReadAll(mClient);
        }
    }
    ASSERT_EQ(got.size(), 32 + next.size());
    EXPECT_EQ(got.substr(0, 4), std::string("\x00\x0B\x34\x12", 4)) << "BadAlloc, same sequence";
    EXPECT_EQ(got.substr(32), next);
    EXPECT_FALSE(mRelay->IsBroken());
}

TEST_F(X11RelayTest, AServerThatClosesBreaksTheConnection) {
    CloseServer();
    EXPECT_FALSE(mRelay->Receive());
    EXPECT_TRUE(mRelay->IsBroken());
}

TEST_F(X11RelayTest, SendingToAServerThatClosedRaisesNoSignal) {
    CloseServer();
    ASSERT_EQ(send(mClient, "request", 7, MSG_NOSIGNAL), 7);
    mRelay->Send();
    EXPECT_TRUE(mRelay->IsBroken());
}

TEST_F(X11RelayTest, WhatTheServerDoesNotTakeIsKept) {
    const std::string piece(50000, 'r');
    std::size_t written = 0;
    while (!mRelay->HasUnsent()) {
        ASSERT_EQ(send(mClient, piece.data(), piece.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(piece.size()));
        written += piece.size();
        mRelay->Send();
        ASSERT_LT(written, 100u << 20);
    }
    std::size_t got = 0;
    for (std::size_t count = 1; count > 0;) {
        count = ReadAll(mServer).size();
        got += count;
        mRelay->Send();
    }
    EXPECT_EQ(got, written);
    EXPECT_FALSE(mRelay->HasUnsent());
    EXPECT_FALSE(mRelay->IsBroken());
}

}  // namespace
}  // namespace kivo::desktop::x11
