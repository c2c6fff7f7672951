#include "tests/support/PeerProcess.h"

#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <string_view>

namespace kivo::test {
namespace {

constexpr char kOption[] = "--peer";

std::map<std::string, PeerRole>& Roles() {
    static std::map<std::string, PeerRole> roles;
    return roles;
}

}  // namespace

PeerRoleRegistration::PeerRoleRegistration(const char* name, PeerRole role) {
    Roles().emplace(name, role);
}

bool PlayPeerRole(int argc, char** argv, int& exitStatus) {
    if (argc != 4 || argv[1] != std::string_view(kOption)) return false;
    const auto role = Roles().find(argv[2]);
    exitStatus = role == Roles().end() ? 127 : role->second(argv[3]);
    return true;
}

PeerProcess::PeerProcess(const std::string& role, const std::string& argument)
    : mProgram({testing::internal::GetArgvs()[0], kOption, role, argument},
               ChildProgram::Errors::kShown) {}

void Report(const std::string& line) {
    std::cout << line << std::endl;
}

std::string Listen() {
    std::string line;
    std::getline(std::cin, line);
    return line;
}

}  // namespace kivo::test
