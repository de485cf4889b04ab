#pragma once

#include "platform/Application.h"

namespace quillo {

// A process without a display, as a command is one: what belongs to a window is not supported.
class ConsoleApplication final : public Application {
 public:
  void performOnMainThread(std::function<void()> action) override;
  void waitKeepingDesktopAlive(const std::function<void()>& wait) override { wait(); }
  void terminate() override;
  [[noreturn]] void exit(int status) override;
  std::optional<int> systemVersion() override { return std::nullopt; }
  // Return ENOTSUP.
  int transformToForegroundApplication() override;
  int activateIgnoringOtherApps() override;
  // Nobody asks for it again.
  void setReopenHandler(std::function<int()>) override {}
  void setApplicationIconImage(const ImageRef&) override {}
  void beep() override {}
};

}  // namespace quillo
