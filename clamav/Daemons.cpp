#include "clamav/Daemons.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "clamav/ClamConf.h"
#include "clamav/ControlSocket.h"
#include "posix/ChildProcess.h"
#include "posix/FileFacts.h"
#include "posix/FolderReader.h"
#include "posix/RealPath.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"

// glibc 2.36 declares these without saying that they are C functions.
extern "C" {
#include <sys/pidfd.h>
}

namespace quillo {
namespace {

constexpr const char* listing = "/bin/ps -axww | /usr/bin/grep clamd | grep -v grep";
constexpr int noLineMatched = 1;
constexpr std::string_view daemonName = "clamd";

std::string contentOf(const std::string& path) { return contentsOfFile(path).value_or(""); }

bool isNumber(std::string_view name) {
  return !name.empty() && name.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isOf(const std::vector<uid_t>& owners, const std::optional<uid_t>& user) {
  return user && std::find(owners.begin(), owners.end(), *user) != owners.end();
}

// The lines of a process list whose processes belong to trusted users. What others' lines say is
// forgotten as it comes: each may be megabytes long.
class OwnedLines {
 public:
  explicit OwnedLines(const DaemonSearch& search) : search_(search) {}

  void take(std::string_view chunk) {
    begun_ += chunk;
    for (std::size_t end = begun_.find('\n'); end != std::string::npos; end = begun_.find('\n')) {
      takeLine(std::string_view(begun_).substr(0, end + 1));
      begun_.erase(0, end + 1);
    }
  }
  void finish() {
    takeLine(begun_);
    begun_.clear();
  }
  const std::string& text() const { return text_; }
  bool sawOnlyStrangers() const { return sawProcess_ && text_.empty(); }

 private:
  void takeLine(std::string_view line) {
    const std::string_view shown = trimmed(line);
    const std::string_view process = shown.substr(0, shown.find_first_of(" \t"));
    if (!isNumber(process)) {
      return;  // a complaint of the shell's
    }
    sawProcess_ = true;
    if (isProcessOf(search_.processes, process, search_.owners)) {
      text_ += line;
    }
  }

  const DaemonSearch& search_;
  std::string begun_;
  std::string text_;
  bool sawProcess_ = false;
};

bool canBeRun(const std::string& program, const std::vector<uid_t>& writers) {
  struct stat status = {};
  return lastPathComponent(program) == daemonName && distrustOfPath(program, writers).empty() &&
         stat(program.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         access(program.c_str(), X_OK) == 0;
}

RunningDaemon usablePart(RunningDaemon found) {
  const std::vector<uid_t> writers = {0, geteuid()};
  const auto canBeRead = [&writers](const std::string& configuration) {
    return distrustOfPath(configuration, writers).empty() && ClamConf::read(configuration);
  };
  if (found.configuration && !canBeRead(*found.configuration)) {
    return {};
  }
  if (!canBeRun(found.program, writers)) {
    found.program.clear();
  }
  return found;
}

std::optional<RunningDaemon> findMention(const DaemonSearch& search) {
  const char* shell = access("/bin/tcsh", X_OK) == 0 ? "/bin/tcsh" : "/bin/sh";
  ChildProcess child({shell, {"-c", listing}});
  OwnedLines lines(search);
  // Read while it runs: a long list would fill the pipe and never end.
  const int status = child.waitUntilExit([&lines](std::string_view chunk) {
    lines.take(chunk);
    return true;
  });
  lines.finish();
  if (status == noLineMatched || lines.sawOnlyStrangers()) {
    return std::nullopt;
  }
  return usablePart(parseProcessList(lines.text()));
}

std::optional<RunningDaemon> liveDaemon(const DaemonSearch& search, const std::string& process) {
  const std::string folder = search.processes + "/" + process;
  if (contentOf(folder + "/comm") != "clamd\n" ||
      !isProcessOf(search.processes, process, search.owners)) {
    return std::nullopt;
  }
  const std::string commandLine = contentOf(folder + "/cmdline");
  if (commandLine.empty()) {
    return std::nullopt;  // it has ended and waits to be reaped
  }
  const std::vector<std::string_view> pieces = split(commandLine, '\0');
  const std::string file = configurationOption({pieces.begin(), pieces.end()});
  const std::vector<std::string>& wanted = search.configurations;
  if (!file.empty() && std::find(wanted.begin(), wanted.end(), file) == wanted.end()) {
    return std::nullopt;
  }
  RunningDaemon daemon{std::string(pieces.front()), std::nullopt};
  if (!file.empty()) {
    daemon.configuration = file;
  }
  return usablePart(std::move(daemon));
}

std::optional<RunningDaemon> findLiveDaemon(const DaemonSearch& search) {
  FolderReader folder(search.processes);
  while (const dirent* entry = folder.next()) {
    if (isNumber(entry->d_name)) {
      if (auto daemon = liveDaemon(search, entry->d_name)) {
        return daemon;
      }
    }
  }
  return std::nullopt;
}

constexpr std::string_view longOption = "--config-file";

std::size_t positionBehindStart(std::string_view text, std::string_view option) {
  const std::size_t at = text.find(option);
  return at == std::string_view::npos ? 0 : at;
}

std::string_view from(std::string_view text, std::size_t position) {
  return text.substr(std::min(position, text.size()));
}

}  // namespace

std::optional<RunningDaemon> findDaemon(const DaemonSearch& search) {
  return search.everyMentionCounts ? findMention(search) : findLiveDaemon(search);
}

std::optional<RunningDaemon> findRunningDaemon() { return findDaemon({trustedDaemonUsers()}); }

bool isProcessOf(const std::string& processes, std::string_view process,
                 const std::vector<uid_t>& owners) {
  const std::string folder = processes + "/" + std::string(process);
  const std::string status = contentOf(folder + "/status");
  const std::size_t line = status.find("\nUid:");
  if (line == std::string::npos) {
    return false;
  }
  std::string_view users =
      std::string_view(status).substr(line + std::string_view("\nUid:").size());
  users = users.substr(0, users.find('\n'));
  int trusted = 0;
  for (const std::string_view user : split(trimmed(users), '\t')) {
    trusted += isOf(owners, numberIn<uid_t>(user)) ? 1 : 0;
  }
  constexpr int realEffectiveSavedAndOfFiles = 4;
  const std::optional<uid_t> login = numberIn<uid_t>(trimmed(contentOf(folder + "/loginuid")));
  return trusted == realEffectiveSavedAndOfFiles &&
         (!login || *login == static_cast<uid_t>(-1) || isOf(owners, login));
}

bool isProcessMarked(pid_t process, const std::string& variable) {
  const std::string environment = contentOf("/proc/" + std::to_string(process) + "/environ");
  const std::vector<std::string_view> variables = split(environment, '\0');
  return std::find(variables.begin(), variables.end(), variable) != variables.end();
}

void endMarkedProcesses(const std::string& variable) {
  FolderReader folder("/proc");
  while (const dirent* entry = folder.next()) {
    const pid_t process = numberIn<pid_t>(entry->d_name).value_or(0);
    if (process <= 0 || process == getpid()) {
      continue;
    }
    // Held first, so that the one that is looked at is the one that is asked.
    const UniqueFd held(pidfd_open(process, 0));
    if (held && isProcessMarked(process, variable)) {
      pidfd_send_signal(held.get(), SIGTERM, nullptr, 0);
    }
  }
}

bool isProcessAtWork(pid_t process) {
  // The state is the third word (proc(5)); the second one, in parentheses, may hold anything.
  const std::string facts = contentOf("/proc/" + std::to_string(process) + "/stat");
  const std::size_t name = facts.rfind(") ");
  const char state = name == std::string::npos ? 'X' : facts[name + 2];
  return std::string_view("RSDI").find(state) != std::string_view::npos;
}

RunningDaemon parseProcessList(std::string_view text) {
  const std::size_t slash = text.find('/');
  const std::string_view command = text.substr(slash == std::string_view::npos ? 0 : slash);
  const auto daemon = [command](std::size_t option, std::size_t optionLength) {
    return RunningDaemon{std::string(command.substr(0, option - 1)),
                         std::string(trimmed(from(command, option + optionLength)))};
  };
  if (const std::size_t option = positionBehindStart(command, "--config"); option > 0) {
    return daemon(option, longOption.size() + 1);
  }
  if (const std::size_t option = positionBehindStart(command, "-c"); option > 0) {
    return daemon(option, std::string_view("-c ").size());
  }
  return {std::string(trimmed(command)), std::nullopt};
}

std::string configurationOption(const std::vector<std::string>& words) {
  for (std::size_t i = 1; i < words.size(); ++i) {
    const std::string& word = words[i];
    std::string next = i + 1 < words.size() ? words[i + 1] : std::string();
    if (word == "-c" || word == longOption) {
      return next;
    }
    if (word.compare(0, longOption.size() + 1, std::string(longOption) + "=") == 0) {
      return word.substr(longOption.size() + 1);
    }
    if (word.size() > 2 && word.compare(0, 2, "-c") == 0) {
      return word.substr(2);
    }
  }
  return {};
}

}  // namespace quillo
