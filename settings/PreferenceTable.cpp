#include "settings/PreferenceTable.h"

namespace quillo {
namespace {

const char* typeOf(const Preference<bool>&) { return "true/false"; }
const char* typeOf(const Preference<std::int64_t>&) { return "number"; }
const char* typeOf(const Preference<std::string>&) { return "text"; }
const char* typeOf(const Preference<Presence>&) { return "any"; }
const char* typeOf(const Preference<FolderPath>&) { return "text, or table with `path` or `URI`"; }
template <typename Entry>
const char* typeOf(const Preference<std::vector<Entry>>&) {
  return "list of tables";
}

std::string inWords(bool whenAbsent) { return whenAbsent ? "true" : "false"; }
std::string inWords(std::int64_t whenAbsent) { return std::to_string(whenAbsent); }
std::string inWords(const char* whenAbsent) { return whenAbsent; }

template <typename... Types>
std::vector<PreferenceInWords> inWords(const Preference<Types>&... preferences) {
  return {{preferences.name, typeOf(preferences), inWords(preferences.whenAbsent),
           preferences.sentence}...};
}

}  // namespace

std::vector<PreferenceInWords> everyPreference() {
  return inWords(key::pathToClamav, key::pathToUpdateLog, key::quilloFolderArray,
                 key::quilloScanVolumes, key::quilloCatchUp, key::quilloQuarantineFiles,
                 key::quarantineFolder, key::quilloTrashFiles, key::excludePatterns,
                 key::suppressInfoDialogs, key::updateDefsOnLaunch, key::needsExit1FreshclamFlag,
                 key::multiscan, key::showDockIcon, key::rotateScanlogWhenSizeReaches,
                 key::quilloLogProgress, key::scanEmail, key::runningOnServer, key::exclude,
                 key::include);
}

}  // namespace quillo
