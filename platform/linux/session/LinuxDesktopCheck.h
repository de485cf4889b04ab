#pragma once

#include <QDBusConnection>
#include <string>
#include <vector>

#include "platform/DesktopCheck.h"

namespace quillo {

class Environment;

// Panel and notifications over the session bus (StatusNotifierItem, Desktop Notifications;
// freedesktop.org), the entry for log-in by freedesktop.org's rules for autostart (version 0.5).
class LinuxDesktopCheck final : public DesktopCheck {
 public:
  LinuxDesktopCheck(const QDBusConnection& bus, const Environment& environment,
                    const std::string& home);

  DesktopFacts look() override;

 private:
  void lookForPanel(DesktopFacts& facts);
  void lookForEntry(DesktopFacts& facts) const;

  QDBusConnection bus_;
  // The one that counts first.
  std::vector<std::string> configurations_;
};

}  // namespace quillo
