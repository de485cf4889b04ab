#include "agent/Preferences.h"

#include <utility>
#include <vector>

#include "engine/ClamdLink.h"
#include "engine/DaemonStart.h"
#include "platform/Folders.h"
#include "platform/PreferenceStore.h"
#include "platform/SystemLog.h"
#include "posix/ChildProcess.h"
#include "posix/FileFacts.h"
#include "posix/FolderReader.h"
#include "settings/PreferenceTable.h"

namespace quillo {
namespace {

void makeFolder(const std::string& path) {
  if (!fileExists(path)) {
    runShellCommand("mkdir " + path);
  }
}

}  // namespace

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

void ScratchFolders::make() {
  theTempDirToWatch = folders_.temporaryFolder().value_or("/tmp") + "/VantrelQuilloII";
  makeFolder(*theTempDirToWatch);
  theThrobberTempDir = *theTempDirToWatch + "/Throbber";
  makeFolder(*theThrobberTempDir);
  emptyThrobberFolder();
}

void ScratchFolders::emptyThrobberFolder() {
  std::vector<std::string> entries;
  appendEverythingBelow(*theThrobberTempDir + "/", entries);
  if (entries.empty()) {
    return;
  }
  // In a folder that others may write too, somebody could have laid a link to this user's files.
  if (!isOwnFolder(*theTempDirToWatch) || !isOwnFolder(*theThrobberTempDir)) {
    log_.log("Scratch folder " + *theThrobberTempDir +
             " was made by somebody else; it is not emptied");
    return;
  }
  runShellCommand("rm " + *theThrobberTempDir + "/*");
}

void ScratchFolders::forget() {
  theThrobberTempDir.reset();
  theTempDirToWatch.reset();
}

}  // namespace quillo
