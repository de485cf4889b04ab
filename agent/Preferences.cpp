#include "agent/Preferences.h"

#include <utility>

#include "agent/ScratchFolders.h"
#include "engine/ClamdLink.h"
#include "engine/DaemonStart.h"
#include "platform/PreferenceStore.h"
#include "settings/PreferenceTable.h"

namespace quillo {

Preferences::Preferences(PreferenceStore& store, const TypedPreferences& typed, SystemLog& log,
                         ClamdLink& engine, DaemonStart& daemon, ScratchFolders& scratchFolders)
    : quilloPrefs(store),
      typed_(typed),
      log_(log),
      engine_(engine),
      daemon_(daemon),
      scratchFolders_(scratchFolders) {}

bool Preferences::readPrefs() {
  quilloPrefs.addSuiteNamed(mainApplicationIdentifier);
  quilloPrefs.synchronize();
  readEngine();
  if (const auto problem = daemon_.makeSureDaemonRuns(settings()->clamPATH, unnamedEngine())) {
    engineProblem_ = *problem;
    return false;
  }
  scratchFolders_.make();
  settings_.store(withScanning(*settings(), typed_, log_));
  engine_.discernClamdSocketLocation();
  return true;
}

void Preferences::readEngine() {
  settings_.store(withEngine(*settings(), typed_));
  if (!settings()->clamPATH) {
    engine_.noEnginePanic(unnamedEngine());
  } else if (!settings()->updateLog) {
    engine_.noEnginePanic({EngineProblem::Kind::noUpdateLog});
  }
}

EngineProblem Preferences::unnamedEngine() {
  if (quilloPrefs.hasAny()) {
    return {EngineProblem::Kind::notChosen};
  }
  return {EngineProblem::Kind::noPreferences, quilloPrefs.fileOf(mainApplicationIdentifier)};
}

void Preferences::drop() {
  scratchFolders_.forget();
  engine_.setDaemonPaths(std::nullopt, std::nullopt);
  settings_.store(withoutDerivedValues(*settings()));
}

void Preferences::setNeedsExit1FreshclamFlag(bool needed) {
  WatchSettings changed = *settings();
  changed.needsExit1FreshclamFlag = needed;
  settings_.store(std::move(changed));
}

}  // namespace quillo
