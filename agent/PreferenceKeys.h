#pragma once

#include <array>

namespace quillo {

inline constexpr const char* mainApplicationIdentifier = "org.vantrel.Vantrel";

// Every preference that the agent reads, in one place.
struct PreferenceKey {
  const char* name;
  const char* type;
  const char* whenAbsent;
};

inline constexpr std::array<PreferenceKey, 19> preferenceKeys = {{
    {"PathToClamav", "string", "no engine"},
    {"PathToUpdateLog", "string", "no engine"},
    {"Running on OS X Server", "any", "off"},
    {"ScanEmail", "boolean", "on"},
    {"multiscan", "string", "off"},
    {"QuilloTrashFiles", "boolean", "no change"},
    {"QuilloQuarantineFiles", "boolean", "no change"},
    {"QuarantineFolder", "string or table", "none"},
    {"Exclude", "any", "off"},
    {"Include", "any", "off"},
    {"NeedsExit1FreshclamFlag", "boolean", "no change"},
    {"UpdateDefsOnLaunch", "boolean", "no change"},
    {"ShowDockIcon", "string", "off"},
    {"QuilloFolderArray", "list of tables", "nothing watched"},
    {"QuilloScanVolumes", "boolean", "off"},
    {"rotateScanlogWhenSizeReaches", "number", "5120"},
    {"ExcludePatterns", "list of tables", "none"},
    {"SuppressInfoDialogs", "boolean", "off"},
    {"QuilloLogProgress", "boolean", "off"},
}};

}  // namespace quillo
