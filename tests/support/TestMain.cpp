#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/PeerProcess.h"
#include "tests/support/TemporaryFolder.h"

int main(int argc, char** argv) {
    int exitStatus = 0;
    if (kivo::test::PlayPeerRole(argc, argv, exitStatus)) return exitStatus;
    // So that no test meets a port of the session or of another test that runs beside it.
    const kivo::test::TemporaryFolder folder;
    setenv("XDG_RUNTIME_DIR", folder.Path().c_str(), 1);
    // No test takes hold of the keyboards of whoever runs it.
    setenv("KIVO_KEYBOARD", "none", 0);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
