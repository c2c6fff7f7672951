#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/PeerProcess.h"

namespace {

/// A run-time folder of the test's own, so that no test meets a port of the session or of another
/// test that runs beside it.
class PrivateRuntimeFolder {
  public:
    PrivateRuntimeFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "kivo-test-XXXXXX").string();
        mPath = mkdtemp(pattern.data());
        setenv("XDG_RUNTIME_DIR", mPath.c_str(), 1);
    }
    ~PrivateRuntimeFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    PrivateRuntimeFolder(const PrivateRuntimeFolder&) = delete;
    PrivateRuntimeFolder& operator=(const PrivateRuntimeFolder&) = delete;

  private:
    std::filesystem::path mPath;
};

}  // namespace

int main(int argc, char** argv) {
    int exitStatus = 0;
    if (kivo::test::PlayPeerRole(exitStatus)) return exitStatus;
    const PrivateRuntimeFolder folder;
    // No test takes hold of the keyboards of whoever runs it.
    setenv("KIVO_KEYBOARD", "none", 0);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
