#include "companion/DefinitionPlace.h"

#include <unistd.h>

#include <chrono>

#include "clamav/ClamConf.h"
#include "clamav/Definitions.h"

namespace quillo {

DefinitionPlace definitionPlaceAt(const std::string& folder) {
  DefinitionPlace place;
  if (!folder.starts_with('/')) {
    return place;
  }
  place.folder = folder;
  place.keeper = access(folder.c_str(), W_OK | X_OK) == 0 ? DefinitionPlace::Keeper::user
                                                          : DefinitionPlace::Keeper::machine;
  if (const auto built = holdsRealDefinitions(folder) ? definitionsBuiltIn(folder) : std::nullopt) {
    place.built =
        std::chrono::duration_cast<std::chrono::seconds>(built->time_since_epoch()).count();
  }
  return place;
}

DefinitionPlace definitionPlaceOf(const std::string& engine) {
  const auto configuration =
      engine.empty() ? std::nullopt : ClamConf::read(engine + "/etc/clamd.conf");
  return definitionPlaceAt(configuration ? configuration->value("DatabaseDirectory") : "");
}

}  // namespace quillo
