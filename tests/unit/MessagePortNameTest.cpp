#include <CoreFoundation/MessagePortName.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/PeerProcess.h"

// Where ports lie and who owns a name, as docs/message-ports.md has it.

namespace {

namespace fs = std::filesystem;
using kivo::FileDescriptor;
using kivo::OwnedPortName;
using kivo::test::PeerProcess;
using kivo::test::PeerRoleRegistration;

fs::path Folder() {
    return fs::path(std::getenv("XDG_RUNTIME_DIR")) / "kivo-message-ports";
}

/// A run-time folder of the test case's own.
class MessagePortName : public testing::Test {
  protected:
    void SetUp() override {
        mFormer = std::getenv("XDG_RUNTIME_DIR");
        std::string pattern = mFormer + "/case-XXXXXX";
        setenv("XDG_RUNTIME_DIR", mkdtemp(pattern.data()), 1);
    }
    void TearDown() override { setenv("XDG_RUNTIME_DIR", mFormer.c_str(), 1); }

  private:
    std::string mFormer;
};

int HoldName(const std::string& name) {
    const auto owned = OwnedPortName::Take(name);
    kivo::test::Report(owned ? "owned" : "taken");
    kivo::test::Listen();
    return 0;
}
const PeerRoleRegistration kHolder("holder", HoldName);

TEST_F(MessagePortName, BecomesAFileNameAsDocumented) {
    EXPECT_EQ(kivo::PortFileStem("Kivo_MessagePort_KIVB"), "Kivo_MessagePort_KIVB");
    EXPECT_EQ(kivo::PortFileStem("a b/\xC3\xBC"), "a%20b%2F%C3%BC");
    EXPECT_EQ(kivo::PortFileStem(".hidden.name"), "%2Ehidden.name");
    EXPECT_EQ(kivo::PortFileStem(".."), "%2E.");
    EXPECT_EQ(kivo::PortFileStem("%2E"), "%252E");
    EXPECT_EQ(kivo::PortFileStem(std::string(80, 'x')), std::string(80, 'x'));
    EXPECT_EQ(kivo::PortFileStem(std::string(100, 'x')),
              std::string(56, 'x') + "~052c9e7cec411035");
    EXPECT_NE(kivo::PortFileStem(std::string(100, 'x')), kivo::PortFileStem(std::string(101, 'x')));
}

TEST_F(MessagePortName, MakesAPrivateFolderAndFiles) {
    const auto owned = OwnedPortName::Take("name");
    ASSERT_TRUE(owned);
    EXPECT_EQ(fs::status(Folder()).permissions(), fs::perms::owner_all);
    EXPECT_TRUE(fs::is_socket(Folder() / "name.port"));
    EXPECT_EQ(fs::status(Folder() / "name.port").permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(fs::status(Folder() / "name.lock").permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_FALSE(fs::exists(Folder() / ".name.port.new"));
}

TEST_F(MessagePortName, IsGivenBack) {
    {
        const auto owned = OwnedPortName::Take("name");
        EXPECT_FALSE(OwnedPortName::Take("name")) << "twice at once";
        EXPECT_TRUE(kivo::ConnectToPort("name"));
    }
    EXPECT_FALSE(fs::exists(Folder() / "name.port"));
    EXPECT_FALSE(kivo::ConnectToPort("name"));
    EXPECT_TRUE(OwnedPortName::Take("name"));
}

TEST_F(MessagePortName, NeverMeetsTheFilesOfAnother) {
    const auto name = OwnedPortName::Take("x");
    const auto lock = OwnedPortName::Take("x.lock");
    const auto port = OwnedPortName::Take("x.port");
    EXPECT_TRUE(name && lock && port);
    EXPECT_TRUE(kivo::ConnectToPort("x") && kivo::ConnectToPort("x.lock"));
}

TEST_F(MessagePortName, IsFreeWhenItsOwnerWasKilled) {
    PeerProcess holder("holder", "name");
    ASSERT_EQ(holder.Hear(), "owned");
    EXPECT_FALSE(OwnedPortName::Take("name"));
    holder.Kill();
    EXPECT_TRUE(fs::is_socket(Folder() / "name.port")) << "the socket of the dead stays";
    EXPECT_FALSE(kivo::ConnectToPort("name"));
    EXPECT_TRUE(OwnedPortName::Take("name"));
}

TEST_F(MessagePortName, ReplacesWhatTheDeadLeft) {
    fs::create_directory(Folder());
    fs::permissions(Folder(), fs::perms::owner_all);
    for (const char* left : {"name.port", ".name.port.new", "name.lock"}) {
        std::ofstream(Folder() / left) << "left";
    }
    const auto owned = OwnedPortName::Take("name");
    EXPECT_TRUE(owned);
    EXPECT_TRUE(kivo::ConnectToPort("name"));
}

TEST_F(MessagePortName, LeavesTheSocketOfASuccessorAlone) {
    auto owned = OwnedPortName::Take("name");
    ASSERT_TRUE(owned);
    fs::remove_all(Folder());  // somebody cleaned up
    const auto successor = OwnedPortName::Take("name");
    ASSERT_TRUE(successor);
    owned.reset();
    EXPECT_TRUE(kivo::ConnectToPort("name"));
}

TEST_F(MessagePortName, IsOwnedByOneOfManyThatStartAtOnce) {
    for (int round = 0; round < 5; ++round) {
        std::vector<std::unique_ptr<PeerProcess>> peers;
        for (int i = 0; i < 6; ++i) {
            peers.push_back(std::make_unique<PeerProcess>("holder", "race"));
        }
        int owners = 0;
        for (const auto& peer : peers)
            owners += peer->Hear() == "owned" ? 1 : 0;
        EXPECT_EQ(owners, 1);
        EXPECT_TRUE(kivo::ConnectToPort("race"));
    }
}

TEST_F(MessagePortName, WorksUnderALongPath) {
    std::string path = std::getenv("XDG_RUNTIME_DIR");
    for (int i = 0; i < 4; ++i) {
        path += "/" + std::string(60, 'p');
        fs::create_directory(path);
    }
    setenv("XDG_RUNTIME_DIR", path.c_str(), 1);
    const auto owned = OwnedPortName::Take(std::string(128, 'n'));
    ASSERT_TRUE(owned);
    EXPECT_TRUE(kivo::ConnectToPort(std::string(128, 'n')));
}

TEST_F(MessagePortName, IsNotTakenInAFolderThatIsOpenToOthers) {
    fs::create_directory(Folder());
    fs::permissions(Folder(), fs::perms::owner_all | fs::perms::group_exec);
    EXPECT_FALSE(OwnedPortName::Take("name"));
    EXPECT_FALSE(kivo::ConnectToPort("name"));
}

TEST_F(MessagePortName, IsNotTakenBehindASymbolicLink) {
    const fs::path elsewhere = Folder().parent_path() / "elsewhere";
    fs::create_directory(elsewhere);
    fs::permissions(elsewhere, fs::perms::owner_all);
    fs::create_directory_symlink(elsewhere, Folder());
    EXPECT_FALSE(OwnedPortName::Take("name"));
}

TEST_F(MessagePortName, IsNotTakenWhereTheLockIsALink) {
    fs::create_directory(Folder());
    fs::permissions(Folder(), fs::perms::owner_all);
    fs::create_symlink("/dev/null", Folder() / "name.lock");
    EXPECT_FALSE(OwnedPortName::Take("name"));
}

TEST_F(MessagePortName, IsOfAnotherFolderWithoutARuntimeFolder) {
    unsetenv("XDG_RUNTIME_DIR");
    const std::string user = std::to_string(geteuid());
    struct stat status {};
    const bool hasPerUser = stat(("/run/user/" + user).c_str(), &status) == 0 &&
                            status.st_uid == geteuid() && (status.st_mode & 077) == 0;
    const fs::path folder = hasPerUser ? "/run/user/" + user + "/kivo-message-ports"
                                       : "/tmp/kivo-message-ports-" + user;
    const std::string name = "kivo-test-" + std::to_string(getpid());
    {
        const auto owned = OwnedPortName::Take(name);
        ASSERT_TRUE(owned);
        EXPECT_TRUE(fs::is_socket(folder / (name + ".port")));
    }
    fs::remove(folder / (name + ".lock"));
}

/// Runs `body` as another user; its exit status, or -1.
int AsAnotherUser(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0) _exit(setgid(65534) == 0 && setuid(65534) == 0 ? body() : 100);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(MessagePortName, IsNothingForAnotherUser) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    const auto owned = OwnedPortName::Take("name");
    ASSERT_TRUE(owned);
    EXPECT_EQ(AsAnotherUser([] { return kivo::ConnectToPort("name") ? 1 : 0; }), 0);
}

TEST_F(MessagePortName, OfAnotherUsersSocketIsNotConnectedTo) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    ASSERT_TRUE(OwnedPortName::Take("own"));  // makes the folder
    const std::string path = Folder() / "planted.port";
    fs::permissions(Folder().parent_path().parent_path(), fs::perms::all);
    fs::permissions(Folder().parent_path(), fs::perms::all);
    fs::permissions(Folder(), fs::perms::all);
    int toParent[2];
    ASSERT_EQ(pipe(toParent), 0);
    const pid_t child = fork();
    if (child == 0) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
        const bool works =
            setgid(65534) == 0 && setuid(65534) == 0 &&
            bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
            listen(listener, 1) == 0;
        _exit(write(toParent[1], works ? "y" : "n", 1) == 1 && pause() == 0);
    }
    char works = 0;
    ASSERT_EQ(read(toParent[0], &works, 1), 1);
    fs::permissions(Folder(), fs::perms::owner_all);
    EXPECT_EQ(works, 'y');
    EXPECT_FALSE(kivo::ConnectToPort("planted"));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(toParent[0]);
    close(toParent[1]);
}

}  // namespace
