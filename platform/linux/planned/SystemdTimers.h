#pragma once

#include <QDBusConnection>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/PlannedScans.h"
#include "platform/linux/planned/SystemdUser.h"
#include "platform/linux/planned/UnitChanges.h"
#include "platform/linux/planned/UnitFolder.h"
#include "posix/Mutex.h"

namespace quillo {

// Planned scans as timers of the user's own systemd, a timer and a service each. What is planned is
// what systemd says, whoever wrote it: a file that was edited, a timer that was switched off.
class SystemdTimers final : public PlannedScans {
 public:
  // `program` is the absolute path of what scans; `folder` is that of the user's units.
  SystemdTimers(const QDBusConnection& bus, std::string program, std::string folder)
      : bus_(bus), systemd_(bus), program_(std::move(program)), folder_(std::move(folder)) {}

  Listing list() override;
  Wording put(const PlannedScan& wanted) override;
  Wording remove(const std::string& id) override;
  Wording runNow(const std::string& id) override;
  Wording end(const std::string& id) override;
  void observe(std::function<void()> changed) override;

 private:
  // A unit that was written, and what was there before.
  struct Written {
    std::string name;
    std::optional<std::string> before;
  };

  PlannedScan scanNumbered(const std::string& id) const;
  Wording makeActive(const std::string& timer) const;
  // What its user edited still outweighs what was written.
  Wording problemWithEdits(const PlannedScan& wanted) const;
  Wording write(const PlannedScan& scan, std::vector<Written>& written) const;
  void takeBack(const std::string& timer, const std::vector<Written>& written) const;

  // Constant after construction.
  const QDBusConnection bus_;
  const SystemdUser systemd_;
  const std::string program_;
  const UnitFolder folder_;

  // One change at a time.
  Mutex changes_;
  // The main thread's own.
  std::unique_ptr<UnitChanges> unitChanges_;
};

}  // namespace quillo
