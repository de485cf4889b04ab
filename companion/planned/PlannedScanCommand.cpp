#include "companion/planned/PlannedScanCommand.h"

#include <signal.h>

#include <ostream>

#include "companion/CommandWords.h"
#include "platform/GrowlApplicationBridge.h"
#include "platform/LocalizedStrings.h"
#include "posix/FileUri.h"

namespace quillo {
namespace {

constexpr std::size_t firstPath = 3;
constexpr int statusFound = 1;
constexpr int statusIncomplete = 2;
constexpr int statusEnded = 128 + SIGTERM;

// Returns none when one of the words is neither an absolute path nor the URI of one.
std::vector<std::string> pathsIn(const std::vector<std::string>& words) {
  std::vector<std::string> paths;
  for (std::size_t i = firstPath; i < words.size(); ++i) {
    const auto path = words[i].starts_with("/") ? std::optional(words[i]) : pathOfFileUri(words[i]);
    if (!path) {
      return {};
    }
    paths.push_back(*path);
  }
  return paths;
}

const char* titleKeyOf(const PlannedScanOutcome& outcome) {
  if (outcome.found > 0) {
    return "PLANNED_RESULT_FOUND";
  }
  if (outcome.isStopped) {
    return "PLANNED_RESULT_ENDED";
  }
  if (outcome.lacksDefinitions) {
    return "PLANNED_RESULT_NO_DEFINITIONS";
  }
  return outcome.isComplete ? "PLANNED_RESULT_CLEAN" : "PLANNED_RESULT_INCOMPLETE";
}

void show(const PlannedScanOutcome& outcome, const PlannedScanServices& services) {
  const bool isFind = outcome.found > 0;
  const std::string title = services.localizedStrings.stringForKey(titleKeyOf(outcome), "");
  // What is well leads nowhere, and need not stay.
  const bool leadsOn = isFind || !outcome.isComplete;
  if (leadsOn && services.showByAgent &&
      services.showByAgent(title + "\n" + outcome.words, isFind)) {
    return;
  }
  GrowlNotification notification;
  notification.title = title;
  notification.name = services.localizedStrings.stringForKey("PLANNED_TITLE", "");
  notification.description = outcome.words;
  notification.isSticky = isFind;
  notification.details.isFind = isFind;
  notification.details.outlivesSender = true;
  services.growl.setGrowlDelegate({{notification.name}, {notification.name}});
  services.growl.notify(notification);
  services.growl.handOver();
}

}  // namespace

bool isPlannedScan(const std::vector<std::string>& words) {
  return !words.empty() && words[0] == "--planned";
}

int runPlannedScan(const std::vector<std::string>& words, std::ostream& errors,
                   const PlannedScanServices& services) {
  const bool isWellFormed = words.size() > firstPath && isPlannedScan(words) && words[2] == "--";
  const std::vector<std::string> paths = isWellFormed ? pathsIn(words) : std::vector<std::string>();
  if (paths.empty()) {
    return showUsage(errors, "scan --planned ID -- PATH...");
  }
  const PlannedScanOutcome outcome = services.scan(paths);
  show(outcome, services);
  if (outcome.found > 0) {
    return statusFound;
  }
  return outcome.isStopped ? statusEnded : outcome.isComplete ? 0 : statusIncomplete;
}

}  // namespace quillo
