#include "companion/doctor/StoreProblems.h"

#include "companion/quarantine/QuarantineWords.h"
#include "companion/results/HistoryCounts.h"
#include "posix/Clock.h"
#include "quarantine/OpenQuarantine.h"
#include "settings/TypedPreferences.h"
#include "settings/WatchSettings.h"

namespace quillo {

std::string historyProblemIn(const std::string& folder, Clock& clock, LocalizedStrings& strings) {
  return HistoryCounts(folder, strings).countsSince(clock.wallTime() - recently).problem;
}

std::string quarantineProblemOf(const TypedPreferences& preferences, LocalizedStrings& strings,
                                SystemLog& log) {
  using FolderProblem = QuarantineStore::FolderProblem;
  const std::string folder = preferences.value(key::quarantineFolder).value_or("");
  const bool isInUse =
      withScanning(withEngine({}, preferences), preferences, log).quarantineOrTrash ==
      InfectedFileAction::quarantine;
  const OpenQuarantine quarantine(folder);
  if (!isInUse && (quarantine.problem == FolderProblem::notChosen ||
                   quarantine.problem == FolderProblem::missing)) {
    return "";
  }
  if (quarantine.recordsError != 0) {
    return QuarantineWords(strings).text("RECORDS_UNUSABLE");
  }
  return QuarantineWords(strings).problem({quarantine.problem, quarantine.error, 0, {}}, folder);
}

}  // namespace quillo
