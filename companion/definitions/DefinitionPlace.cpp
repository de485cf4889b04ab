#include "companion/definitions/DefinitionPlace.h"

#include <unistd.h>

#include <chrono>
#include <optional>

#include "clamav/ClamConf.h"
#include "clamav/ControlSocket.h"
#include "clamav/DaemonVersion.h"
#include "clamav/Definitions.h"

namespace quillo {
namespace {

constexpr std::chrono::seconds longestAnswer(5);

// What the daemon of an engine says of itself, and where it loads its definitions from.
struct AskedDaemon {
  std::optional<DaemonVersion> version;
  std::string folder;
};

std::int64_t secondsOf(std::chrono::system_clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

AskedDaemon askDaemonOf(const std::string& engine) {
  AskedDaemon asked;
  const auto bytes = engine.empty() ? std::nullopt : ClamConf::bytesOf(engine + "/etc/clamd.conf");
  if (!bytes) {
    return asked;
  }
  const ClamConf configuration = ClamConf::parse(*bytes);
  asked.folder = configuration.value("DatabaseDirectory");
  if (const std::string socket = discernLocalSocket(*bytes).path.value_or(""); !socket.empty()) {
    asked.version =
        askDaemonVersion(socket, trustedDaemonUsers(configuration.value("User")), longestAnswer);
  }
  return asked;
}

}  // namespace

DefinitionPlace definitionPlaceAt(const std::string& folder) {
  DefinitionPlace place;
  if (!folder.starts_with('/')) {
    return place;
  }
  place.folder = folder;
  place.keeper = access(folder.c_str(), W_OK | X_OK) == 0 ? DefinitionPlace::Keeper::user
                                                          : DefinitionPlace::Keeper::machine;
  if (const auto built = holdsRealDefinitions(folder) ? definitionsBuiltIn(folder) : std::nullopt) {
    place.built = secondsOf(*built);
  }
  return place;
}

DefinitionPlace definitionPlaceOf(const std::string& engine) {
  const auto configuration =
      engine.empty() ? std::nullopt : ClamConf::read(engine + "/etc/clamd.conf");
  return definitionPlaceAt(configuration ? configuration->value("DatabaseDirectory") : "");
}

std::int64_t definitionsLoadedBy(const std::string& engine) {
  const AskedDaemon daemon = askDaemonOf(engine);
  if (daemon.version && daemon.version->definitions) {
    return secondsOf(*daemon.version->definitions);
  }
  // A daemon does not number definitions other than main and daily; those it would, had it loaded
  // them.
  return daemon.version && definitionsIn(daemon.folder).any()
             ? 0
             : definitionPlaceAt(daemon.folder).built;
}

bool lacksDefinitions(const std::string& engine) {
  const AskedDaemon daemon = askDaemonOf(engine);
  if (!daemon.version || daemon.version->definitions || daemon.folder.empty()) {
    return false;
  }
  return definitionsIn(daemon.folder).any() || !holdsRealDefinitions(daemon.folder);
}

}  // namespace quillo
