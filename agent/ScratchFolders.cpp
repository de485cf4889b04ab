#include "agent/ScratchFolders.h"

#include <vector>

#include "platform/Folders.h"
#include "platform/SystemLog.h"
#include "posix/ChildProcess.h"
#include "posix/FileFacts.h"
#include "posix/FolderReader.h"

namespace quillo {
namespace {

void makeFolder(const std::string& path) {
  if (!fileExists(path)) {
    runShellCommand("mkdir " + path);
  }
}

}  // namespace

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
