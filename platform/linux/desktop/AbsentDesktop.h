#pragma once

#include "desktop/Desktop.h"

namespace kivo::desktop {

/// What stands in where the session has no desktop that the layer can speak to.
class AbsentDesktop final : public Desktop {
  public:
    std::optional<Application> FrontApplication() override { return std::nullopt; }
    void ObserveActivations(std::function<void(const Application&)>) override {}
    std::vector<Application> RunningApplications(const std::string&) override { return {}; }
    Status WindowsOf(pid_t, std::vector<Window>&) override { return Status::kNoAnswer; }
    Status Title(WindowID, std::string&) override { return Status::kNoAnswer; }
    Status Frame(WindowID, Rect&) override { return Status::kNoAnswer; }
    Status MakeMain(WindowID) override { return Status::kNoAnswer; }
    std::optional<Point> Pointer() override { return std::nullopt; }
    std::optional<Rect> PrimaryScreen() override { return std::nullopt; }
};

}  // namespace kivo::desktop
