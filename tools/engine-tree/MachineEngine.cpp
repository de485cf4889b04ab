#include "tools/engine-tree/MachineEngine.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <optional>

#include "clamav/Daemons.h"
#include "posix/Accounts.h"
#include "posix/PlatformException.h"

namespace quillo {
namespace {

std::string firstProgram(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    if (access(path.c_str(), X_OK) == 0) {
      return path;
    }
  }
  return {};
}

struct PackageNames {
  const char* family;  // in ID or ID_LIKE of os-release(5)
  const char* install;
  const char* daemon;
  const char* client;
  const char* updater;
};

constexpr std::array<PackageNames, 4> families = {{
    {"debian", "sudo apt install", "clamav-daemon", "clamdscan", "clamav-freshclam"},
    {"fedora", "sudo dnf install", "clamd", "clamav", "clamav-freshclam"},
    {"arch", "sudo pacman -S", "clamav", "clamav", "clamav"},
    {"suse", "sudo zypper install", "clamav", "clamav", "clamav"},
}};

const PackageNames* familyOf(const std::string& osRelease) {
  std::ifstream file(osRelease);
  std::string line;
  std::string words;
  while (std::getline(file, line)) {
    if (line.rfind("ID=", 0) == 0 || line.rfind("ID_LIKE=", 0) == 0) {
      words += " " + line.substr(line.find('=') + 1);
    }
  }
  for (const PackageNames& family : families) {
    if (words.find(family.family) != std::string::npos) {
      return &family;
    }
  }
  return nullptr;
}

std::string listed(const std::vector<std::string>& words, std::string_view separator) {
  std::string text;
  for (const std::string& word : words) {
    text += text.empty() ? word : std::string(separator) + word;
  }
  return text;
}

MachineDaemon examineDaemon(const std::string& configuration, ClamConf options,
                            const MachinePlaces& places) {
  MachineDaemon daemon;
  daemon.configuration = configuration;
  daemon.socket = options.value("LocalSocket");
  daemon.account = options.value("User");
  // This user's own clamd is no danger to him.
  std::vector<uid_t> trusted = {0, geteuid()};
  std::vector<uid_t> machineUsers = {0};
  if (const std::optional<Account> account = accountNamed(daemon.account)) {
    trusted.push_back(account->user);
    machineUsers.push_back(account->user);
  }
  constexpr bool everyMentionCounts = false;
  daemon.runs =
      findDaemon({machineUsers, everyMentionCounts, places.daemonConfigurations, places.processes})
          .has_value();
  if (!daemon.socket.empty()) {
    daemon.state = pingDaemon(daemon.socket, trusted, places.patience);
    if (daemon.state == DaemonState::absent && daemon.runs) {
      daemon.state = DaemonState::silent;
    }
  }
  daemon.options = std::move(options);
  return daemon;
}

}  // namespace

std::string runtimeFolder() {
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  return folder != nullptr ? folder : "";
}

EnginePrograms installedPrograms(const MachinePlaces& places) {
  EnginePrograms programs = {firstProgram(places.daemons), firstProgram(places.clients),
                             firstProgram(places.updaters)};
  const PackageNames* family = familyOf(places.osRelease);
  std::vector<std::string> missing;
  std::vector<std::string> packages;
  const auto require = [&](const std::string& program, const char* name, const char* package) {
    if (program.empty()) {
      missing.emplace_back(name);
      if (packages.empty() || packages.back() != package) {
        packages.emplace_back(package);
      }
    }
  };
  require(programs.daemon, "clamd", family != nullptr ? family->daemon : "clamd");
  require(programs.client, "clamdscan", family != nullptr ? family->client : "clamdscan");
  require(programs.updater, "freshclam", family != nullptr ? family->updater : "freshclam");
  if (!missing.empty()) {
    std::string reason = "ClamAV is not installed completely: no " + listed(missing, ", no ");
    reason +=
        family != nullptr
            ? ". Install it with: " + std::string(family->install) + " " + listed(packages, " ")
            : ". Install the ClamAV packages of this system that hold these programs";
    throw PlatformException(PlatformException::Kind::notFound, "EngineMissing", reason);
  }
  return programs;
}

MachineDaemon findMachineDaemon(const MachinePlaces& places) {
  std::optional<MachineDaemon> best;
  for (const std::string& configuration : places.daemonConfigurations) {
    std::optional<ClamConf> options = ClamConf::read(configuration);
    // "Example" marks a file that nobody has filled in; clamd refuses it.
    if (!options || options->has("Example")) {
      continue;
    }
    MachineDaemon daemon = examineDaemon(configuration, std::move(*options), places);
    if (daemon.state == DaemonState::answers) {
      return daemon;
    }
    if (!best || (daemon.usable() && !best->usable())) {
      best = std::move(daemon);
    }
  }
  return best.value_or(MachineDaemon());
}

}  // namespace quillo
