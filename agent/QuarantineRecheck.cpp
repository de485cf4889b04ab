#include "agent/QuarantineRecheck.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

#include "clamav/Verdict.h"
#include "engine/ClamdLink.h"
#include "platform/LocalizedStrings.h"
#include "platform/Notifier.h"
#include "platform/SystemLog.h"
#include "posix/ThreadStarter.h"
#include "quarantine/QuarantineCheck.h"
#include "scanning/EngineRun.h"

namespace quillo {
QuarantineRecheck::QuarantineRecheck(QuarantineRecheckServices services)
    : services_(std::move(services)) {}

void QuarantineRecheck::definitionsAre(const LoadedDefinitions& definitions) {
  if (!definitions.real || !definitions.built || services_.quarantineFolder().empty()) {
    return;
  }
  const QuarantineRecord::Time built = *definitions.built;
  {
    MutexLock hold(lock_);
    if (isUnderWay_ || built <= lastBuilt_) {
      return;
    }
    isUnderWay_ = true;
  }
  const auto ended = [this](QuarantineRecord::Time with) {
    MutexLock hold(lock_);
    isUnderWay_ = false;
    lastBuilt_ = std::max(lastBuilt_, with);
  };
  try {
    services_.threads.detachNewThread("recheck", [this, built, ended] {
      bool isMade = false;
      try {
        isMade = check(built);
      } catch (const std::exception& failure) {
        services_.systemLog.log(std::string("Quarantine: checking again failed: ") +
                                failure.what());
      }
      ended(isMade ? built : QuarantineRecord::Time());
    });
  } catch (const std::exception& failure) {
    // Whoever looks at the definitions has more to look at.
    ended({});
    services_.systemLog.log(std::string("Quarantine: checking again cannot begin: ") +
                            failure.what());
  }
}

bool QuarantineRecheck::check(QuarantineRecord::Time built) {
  const QuarantineStore store(services_.quarantineFolder(), services_.clock, {});
  const std::string scanner = services_.scanner();
  std::vector<QuarantinedFile> files = store.list().files;
  std::erase_if(files, [built](const QuarantinedFile& file) {
    return file.hasRecord() && file.record.checkedWith >= built;
  });
  if (files.empty() || scanner.empty()) {
    return files.empty();
  }
  QuarantineCheckCare care;
  if (services_.runningScanners) {
    care.hold = [this](ChildProcess& child) {
      return std::make_shared<RunningScanners::Entry>(*services_.runningScanners, child);
    };
  }
  const QuarantineCheckResult result = checkQuarantine(store, scanner, files, built, care);
  if (!result.problem.empty()) {
    services_.systemLog.log("Quarantine: checking again failed: " + result.problem);
    return false;
  }
  const std::size_t notScanned = result.count(QuarantineRecord::Check::notScanned);
  services_.systemLog.log("Quarantine: " + std::to_string(files.size()) + " files checked again, " +
                          std::to_string(result.count(QuarantineRecord::Check::clean)) +
                          " of them clean by now, " + std::to_string(notScanned) + " not scanned");
  std::size_t clean = 0;
  std::string first;
  for (const auto& checked : result.files) {
    if (checked.isNewlyClean && clean++ == 0) {
      first = reportedText(checked.file.formerName());
    }
  }
  if (clean > 0) {
    notify(clean, first);
  }
  return notScanned < files.size();
}

void QuarantineRecheck::notify(std::size_t clean, const std::string& first) {
  const Wording text = clean == 1 ? Wording{"RECHECKED_CLEAN_ONE", {first}}
                                  : Wording{"RECHECKED_CLEAN", {std::to_string(clean), first}};
  NotificationDetails details;
  details.topic = recheckTopic;
  if (services_.showQuarantine) {
    details.buttons.push_back(
        {services_.localizedStrings.stringForKey("NOTIFICATION_QUARANTINE", ""),
         services_.showQuarantine});
  }
  services_.notifier.withdraw(recheckTopic);
  services_.notifier.displayGrowlDialogWithTitleAndDescription(
      notificationHint, text.in(services_.localizedStrings), details);
}

}  // namespace quillo
