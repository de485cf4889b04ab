#include "companion/definitions/DefinitionPlace.h"

#include <unistd.h>

#include <chrono>

#include "clamav/ClamConf.h"
#include "clamav/ControlSocket.h"
#include "clamav/DaemonVersion.h"
#include "clamav/Definitions.h"

namespace quillo {
namespace {

constexpr std::chrono::seconds longestAnswer(5);

std::int64_t secondsOf(std::chrono::system_clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
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
  const auto bytes = engine.empty() ? std::nullopt : ClamConf::bytesOf(engine + "/etc/clamd.conf");
  if (!bytes) {
    return 0;
  }
  const ClamConf configuration = ClamConf::parse(*bytes);
  const std::string socket = discernLocalSocket(*bytes).path.value_or("");
  const auto version =
      socket.empty() ? std::nullopt
                     : askDaemonVersion(socket, trustedDaemonUsers(configuration.value("User")),
                                        longestAnswer);
  if (version && version->definitions) {
    return secondsOf(*version->definitions);
  }
  // A daemon does not number definitions other than main and daily; those it would, had it loaded
  // them.
  const std::string folder = configuration.value("DatabaseDirectory");
  return version && definitionsIn(folder).any() ? 0 : definitionPlaceAt(folder).built;
}

}  // namespace quillo
