#include "agent/Preferences.h"

#include "engine/ClamdLink.h"
#include "platform/Folders.h"
#include "platform/PreferenceStore.h"
#include "platform/SystemLog.h"
#include "posix/FileFacts.h"
#include "posix/FolderWalk.h"
#include "posix/PlatformException.h"
#include "posix/Shell.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

constexpr const char* standardRoot = "/usr/local/vantrel";
constexpr const char* updaterOfStandardRoot = "/usr/local/vantrel/bin/RunFreshclam";

std::optional<std::string> joined(const std::optional<std::string>& root, const char* rest) {
  return root ? std::optional<std::string>(*root + rest) : std::nullopt;
}

}  // namespace

Preferences::Preferences(PreferenceStore& store, const TypedPreferences& typed, Folders& folders,
                         SystemLog& log, ClamdLink& engine)
    : quilloPrefs(store), folders_(folders), log_(log), engine_(engine), typed_(typed) {}

void Preferences::log(const std::string& message) { log_.log(message); }

bool Preferences::readPrefs() {
  quilloPrefs.addSuiteNamed(mainApplicationIdentifier);
  quilloPrefs.synchronize();
  readEnginePaths();
  usingClamDemon = true;
  if (!makeSureDaemonRuns()) {
    return false;
  }
  makeScratchFolders();
  readScanSettings();
  engine_.discernClamdSocketLocation();
  return true;
}

void Preferences::readEnginePaths() {
  const std::optional<std::string> root = typed_.value(key::pathToClamav);
  const std::optional<std::string> updateLog = typed_.value(key::pathToUpdateLog);
  clamPATH_.store(root);
  if (!root || !updateLog) {
    engine_.noEnginePanic(root ? EngineProblem{EngineProblem::Kind::noUpdateLog} : unnamedEngine());
  }
  const bool wrapped = root && root->starts_with(standardRoot) && fileExists(updaterOfStandardRoot);
  freshclamPATH_.store(wrapped ? std::optional<std::string>(updaterOfStandardRoot)
                               : joined(root, "/bin/freshclam"));
  freshclamLogLocation_.store(updateLog ? std::optional<std::string>("--log=" + *updateLog)
                                        : std::nullopt);
  runningOnServer = typed_.value(key::runningOnServer);
  clamScanPATH = joined(root, "/bin/clamdscan");
}

EngineProblem Preferences::unnamedEngine() {
  if (quilloPrefs.hasAny()) {
    return {EngineProblem::Kind::notChosen};
  }
  return {EngineProblem::Kind::noPreferences, quilloPrefs.fileOf(mainApplicationIdentifier)};
}

bool Preferences::daemonRuns() {
  try {
    return engine_.checkForClamd();
  } catch (const PlatformException& failure) {
    log("The processes cannot be listed: " + failure.reason());
    return false;
  }
}

bool Preferences::makeSureDaemonRuns() {
  if (daemonRuns()) {
    weLaunchedClamd = false;
    return true;
  }
  const std::optional<std::string> root = clamPATH();
  engine_.setDaemonPaths(joined(root, "/sbin/clamd"), joined(root, "/etc/clamd.conf"));
  log("clamd not running. Now trying to launch it...\n");
  if (!root || !fileExists(*engine_.clamdPATH())) {
    engineProblem_ = root ? EngineProblem{EngineProblem::Kind::daemonMissing, *engine_.clamdPATH()}
                          : unnamedEngine();
    log("ClamAV installation couldn't be found.  Quitting now.\n");
    return false;
  }
  engineProblem_ = {EngineProblem::Kind::daemonFailed, *engine_.clamdPATH()};
  const bool launched = launchDaemon();
  log(launched ? "clamd launched successfully.  Continuing...\n"
               : "clamd couldn't be launched.  Quitting now.\n");
  weLaunchedClamd = launched && !engine_.isServedByAnother();
  return launched;
}

bool Preferences::launchDaemon() {
  struct Launching {
    bool& flag;
    explicit Launching(bool& launching) : flag(launching) { flag = true; }
    ~Launching() { flag = false; }
  } launching(launchingClamd);
  try {
    return engine_.launchClamdWithConfigFile(*engine_.clamdPATH(), engine_.clamdConfPATH());
  } catch (const PlatformException& failure) {
    log("Cannot launch " + *engine_.clamdPATH() + ": " + failure.reason());
    return false;
  }
}

void Preferences::makeScratchFolders() {
  theTempDirToWatch = folders_.temporaryFolder().value_or("/tmp") + "/VantrelQuilloII";
  if (!fileExists(*theTempDirToWatch)) {
    runShellCommand("mkdir " + *theTempDirToWatch);
  }
  theThrobberTempDir = *theTempDirToWatch + "/Throbber";
  if (!fileExists(*theThrobberTempDir)) {
    runShellCommand("mkdir " + *theThrobberTempDir);
  }
  emptyThrobberFolder();
}

void Preferences::emptyThrobberFolder() {
  std::vector<std::string> entries;
  appendEverythingBelow(*theThrobberTempDir + "/", entries);
  if (entries.empty()) {
    return;
  }
  // In a folder that others may write too, somebody could have laid a link to this user's files.
  if (!isOwnFolder(*theTempDirToWatch) || !isOwnFolder(*theThrobberTempDir)) {
    log("Scratch folder " + *theThrobberTempDir + " was made by somebody else; it is not emptied");
    return;
  }
  runShellCommand("rm " + *theThrobberTempDir + "/*");
}

void Preferences::readScanSettings() {
  const bool scanEmail = typed_.value(key::scanEmail);
  scanMboxOrNot = scanEmail ? "--mbox" : "--no-mail";
  log(scanEmail ? "scan email files\n" : "do NOT scan email files\n");
  useMultiscan = typed_.value(key::multiscan) == "yes";
  if (useMultiscan) {
    log("Will use as many processor cores as possible for scanning\n");
  }
  readInfectedFileSettings();
  if (!typed_.value(key::exclude)) {
    excludePattern.clear();
    exclude = false;
  }
  if (!typed_.value(key::include)) {
    includePattern.clear();
    includeOnly = false;
  }
  maxRatio.reset();
  logProgress = typed_.value(key::quilloLogProgress);
  if (typed_.value(key::needsExit1FreshclamFlag)) {
    setNeedsExit1FreshclamFlag(true);
  }
  if (typed_.value(key::updateDefsOnLaunch)) {
    updateDefsAtLaunch = true;
  }
}

void Preferences::readInfectedFileSettings() {
  quarantineOrTrash.clear();
  quarantineLocation.clear();
  if (typed_.value(key::quilloTrashFiles)) {
    deleteInfected = true;
    quarantineInfected = false;
    quarantineOrTrash = "T";
    log("I will delete infected files\n");
  }
  if (typed_.value(key::quilloQuarantineFiles)) {
    quarantineInfected = true;
    deleteInfected = false;
    quarantineOrTrash = "Q";
    log("I will quarantine infected files\n");
    quarantineLocation = "--move=" + typed_.value(key::quarantineFolder).value_or("");
  }
}

void Preferences::drop() {
  theThrobberTempDir.reset();
  theTempDirToWatch.reset();
  clamPATH_.store(std::nullopt);
  freshclamPATH_.store(std::nullopt);
  freshclamLogLocation_.store(std::nullopt);
  clamScanPATH.reset();
  engine_.setDaemonPaths(std::nullopt, std::nullopt);
  scanMboxOrNot.clear();
  quarantineLocation.clear();
  quarantineOrTrash.clear();
  excludePattern.clear();
  includePattern.clear();
  maxRatio.reset();
}

}  // namespace quillo
