#include "benchmarks/coverage/OnAccessGuard.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "benchmarks/coverage/Ways.h"
#include "benchmarks/coverage/Writer.h"
#include "posix/UniqueFd.h"

namespace bench {
namespace {

constexpr const char* daemonUser = "clamav";

std::unique_ptr<quillo::ChildProcess> launch(const std::string& program,
                                             const std::vector<std::string>& arguments) {
  quillo::LaunchRequest request{program, arguments};
  request.output = quillo::LaunchRequest::Output::discardedStdout;
  return std::make_unique<quillo::ChildProcess>(request);
}

void end(std::unique_ptr<quillo::ChildProcess>& process) {
  if (process) {
    process->endAtOnce();
    process->waitUntilExit();
    process.reset();
  }
}

void makeFolderForDaemon(const std::string& folder) {
  std::filesystem::create_directories(folder);
  const passwd* user = getpwnam(daemonUser);
  if (user == nullptr || chown(folder.c_str(), user->pw_uid, user->pw_gid) != 0) {
    throw std::runtime_error("cannot give " + folder + " to " + daemonUser);
  }
}

}  // namespace

OnAccessGuard::OnAccessGuard(const Settings& settings)
    : settings_(settings), log_(settings.root + "/clamonacc.log") {
  makeFolderForDaemon(settings_.root);
  writeConfiguration();
}

OnAccessGuard::~OnAccessGuard() {
  end(client_);
  end(daemon_);
}

void OnAccessGuard::writeConfiguration() const {
  std::ofstream file(configuration());
  file << "LocalSocket " << settings_.root << "/clamd.ctl\nLocalSocketMode 666\nPidFile "
       << settings_.root << "/clamd.pid\nUser " << daemonUser << "\nDatabaseDirectory "
       << settings_.database << "\nMaxThreads 12\nOnAccessMaxFileSize 5M\nOnAccessExcludeUname "
       << daemonUser << "\nOnAccessExtraScanning " << (settings_.scansExtra ? "yes" : "no") << "\n";
  for (const std::string& folder : settings_.folders) {
    file << "OnAccessIncludePath " << folder << "\n";
  }
}

void OnAccessGuard::start() {
  if (!daemon_) {
    daemon_ = launch("/usr/sbin/clamd", {"--foreground", "--config-file=" + configuration()});
    const std::string socket = settings_.root + "/clamd.ctl";
    if (!log_.await([&] { return access(socket.c_str(), F_OK) == 0; }, Seconds(30))) {
      throw std::runtime_error("clamd does not come up");
    }
  }
  client_ = launch("/usr/sbin/clamonacc",
                   {"--foreground", "--config-file=" + configuration(), "--log=" + log_.path()});
  awaitWatching();
}

// Whatever way it scans, it does when a file is opened that lay there before.
void OnAccessGuard::awaitWatching() {
  const Seconds deadline = now() + Seconds(30);
  for (;;) {
    const std::string name = "probe" + std::to_string(++probes_) + ".com";
    const std::string path = settings_.folders.front() + "/" + name;
    const std::string failure = Writer().run(ordinaryUser, [&] {
      saveTestFile(path);
      quillo::UniqueFd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    });
    if (!failure.empty()) {
      throw std::runtime_error("the folder that is guarded: " + failure);
    }
    const bool isFound = log_.await([&] { return !log_.found({name}).empty(); }, Seconds(0.5));
    unlink(path.c_str());
    if (isFound) {
      break;
    }
    if (now() > deadline) {
      throw std::runtime_error("clamonacc finds nothing; its log says:\n" + log_.read());
    }
  }
  // It goes through its folders one after the other.
  log_.letPass(Seconds(1));
}

// With the signal with which Debian's unit of systemd ends it.
void OnAccessGuard::stop() { end(client_); }

void OnAccessGuard::saveDuringRestart(const Save& save) {
  stop();
  save();
  start();
}

}  // namespace bench
