#include "agent/ScanLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/Folders.h"
#include "platform/SystemLog.h"
#include "posix/Accounts.h"
#include "posix/ChildProcess.h"
#include "posix/OwnFile.h"
#include "posix/PlatformException.h"
#include "posix/UniqueFd.h"
#include "posix/Version.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

constexpr const char* systemRotator = "/usr/sbin/newsyslog";

bool isPipe(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

// A pipe would hold up the whole agent: here until somebody reads it, and at a line once nobody
// does.
UniqueFd openLog(const std::string& path, std::string& problem) {
  constexpr int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC;
  UniqueFd file(open(path.c_str(), flags | O_NONBLOCK, 0640));
  const int error = errno;
  if (isPipe(path)) {
    problem = "it is a pipe";
    return UniqueFd();
  }
  if (!file) {
    problem = std::strerror(error);
    return UniqueFd();
  }
  fcntl(file.get(), F_SETFL, O_APPEND);
  return file;
}

}  // namespace

ScanLog::ScanLog(Folders& folders, const TypedPreferences& preferences, SystemLog& log,
                 std::function<void(const std::function<void()>&)> wait)
    : folders_(folders), preferences_(preferences), log_(log), wait_(std::move(wait)) {}

std::string ScanLog::path() const {
  return folders_.homeFolder() + "/Library/Logs/VantrelQuillo-scan.log";
}

void ScanLog::greet() {
  const std::string user = accountNumbered(getuid()).name;
  log_.log(std::string("Vantrel Quillo ") + projectVersion + " starts for " +
           (user.empty() ? "user " + std::to_string(getuid()) : user) +
           ". This log says what is scanned and found. Help: man vantrel-quillo");
}

void ScanLog::logAllToScanLog() {
  std::error_code ignored;
  std::filesystem::create_directories(folders_.homeFolder() + "/Library/Logs", ignored);
  const std::string log = path();
  std::string problem;
  const UniqueFd file = openLog(log, problem);
  if (!file) {
    log_.log("Scan log " + log + " cannot be opened: " + problem +
             "; its lines go where they went before");
    return;
  }
  std::fflush(stderr);
  dup2(file.get(), STDERR_FILENO);
  std::fflush(stdout);
  dup2(file.get(), STDOUT_FILENO);
}

std::string ScanLog::rotationConfiguration() const {
  constexpr const auto& sizeLimit = key::rotateScanlogWhenSizeReaches;
  const std::int64_t wanted = preferences_.value(sizeLimit);
  const std::int64_t limit = wanted > 0 ? wanted : sizeLimit.whenAbsent;
  return "# logfilename [owner:group] mode count size when flags [/pid_file] [sig_num]\n" + path() +
         "\t" + std::to_string(getuid()) + ":" + std::to_string(getgid()) + "\t640\t3\t" +
         std::to_string(limit) + "\t*\tCJN";
}

void ScanLog::rotateLogFile() {
  const std::string configurationPath =
      folders_.temporaryFolder().value_or("/tmp") + "/scanlogrotate.conf";
  const std::string problem =
      writeOwnFile("Rotation settings", configurationPath, rotationConfiguration());
  if (problem.empty()) {
    runRotation(configurationPath);
    unlink(configurationPath.c_str());
  } else {
    log_.log(problem);
  }
  logAllToScanLog();
}

void ScanLog::runRotation(const std::string& configurationPath) {
  // Systems without the tool have this program's own.
  const std::string rotator = access(systemRotator, X_OK) == 0
                                  ? systemRotator
                                  : folders_.resourceFolder() + "/engine-tools/newsyslog";
  try {
    ChildProcess rotation(
        {rotator, {"-Cr", "-f", configurationPath}, LaunchRequest::Output::inherited});
    wait_([&rotation] { rotation.waitUntilExit(); });
  } catch (const PlatformException& failure) {
    log_.log("The scan log is not rotated: " + rotator + ": " + failure.reason());
  }
}

}  // namespace quillo
