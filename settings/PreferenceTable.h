#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace quillo {

inline constexpr const char* mainApplicationIdentifier = "org.vantrel.Vantrel";

// One preference: its name, what holds while it is absent (a value, or words where no value stands
// for it), and a sentence about it without its full stop, in which code stands between "`". T is
// what TypedPreferences reads it as.
template <typename T>
struct Preference {
  const char* name;
  std::conditional_t<std::is_arithmetic_v<T>, T, const char*> whenAbsent;
  const char* sentence;
};

// A preference that counts by being there, whatever its value.
struct Presence {};
// A folder: its path, or a table that holds the path, or its URI.
struct FolderPath {};
// An entry of the list of folders to guard.
struct ChosenFolder {
  std::string path;
  bool withSubdirs = false;
};
// An entry of the list of what is not to be scanned: an expression, or plain text.
struct ExcludePattern {
  std::string text;
  bool isRegEx = false;
  bool isEnabled = true;
};

// Every preference that the agent reads, in the order in which the documents name them. One that is
// added here goes into everyPreference() too.
namespace key {

inline constexpr Preference<std::string> pathToClamav{"PathToClamav", "nothing is watched",
                                                      "The folder of the engine"};
inline constexpr Preference<std::string> pathToUpdateLog{"PathToUpdateLog", "a dialog says so",
                                                         "Where definition updates are logged"};
inline constexpr Preference<std::vector<ChosenFolder>> quilloFolderArray{
    "QuilloFolderArray", "nothing is watched",
    "The folders to guard: `pathName` (or `pathURI`, for a name that is not UTF-8) and "
    "`WatchSubdirs`"};
inline constexpr Preference<bool> quilloScanVolumes{"QuilloScanVolumes", false,
                                                    "Scan a volume when it is mounted"};
inline constexpr Preference<bool> quilloCatchUp{
    "QuilloCatchUp", false,
    "When watching begins, look for what was saved since it last ended, and scan that"};
inline constexpr Preference<bool> quilloQuarantineFiles{
    "QuilloQuarantineFiles", false, "Move infected files to the quarantine folder"};
inline constexpr Preference<FolderPath> quarantineFolder{
    "QuarantineFolder", "none",
    "That folder, with `/` at its end; what lies in it is not scanned again"};
inline constexpr Preference<bool> quilloTrashFiles{
    "QuilloTrashFiles", false,
    "Move infected files to the Trash, from which the file manager puts them back; quarantine wins "
    "if both are set"};
inline constexpr Preference<std::vector<ExcludePattern>> excludePatterns{
    "ExcludePatterns", "nothing is excluded",
    "What not to scan: `excludePattern`, `excludeEnabled`, `excludeRegEx`"};
inline constexpr Preference<bool> suppressInfoDialogs{"SuppressInfoDialogs", false,
                                                      "No dialog for a file that was quarantined"};
inline constexpr Preference<bool> updateDefsOnLaunch{"UpdateDefsOnLaunch", false,
                                                     "Update the definitions at start"};
inline constexpr Preference<bool> needsExit1FreshclamFlag{
    "NeedsExit1FreshclamFlag", false,
    "Set for freshclam 0.100 and later, to tell \"updated\" from \"up to date\""};
inline constexpr Preference<std::string> multiscan{
    "multiscan", "off", "`\"yes\"`: the engine may use all processor cores for one batch"};
inline constexpr Preference<std::string> showDockIcon{
    "ShowDockIcon", "off",
    "`\"true\"`: a window in the task bar (state, folders, last verdicts) instead of the status "
    "icon (if it stands in `org.vantrel.VantrelQuillo.toml`); `\"both\"`: both"};
inline constexpr Preference<std::int64_t> rotateScanlogWhenSizeReaches{
    "rotateScanlogWhenSizeReaches", 5120, "Size of the scan log, in KB, at which it is rotated"};
inline constexpr Preference<bool> quilloLogProgress{
    "QuilloLogProgress", false, "Log each station of a file: noticed, stable, scanning, scanned"};
inline constexpr Preference<bool> scanEmail{"ScanEmail", true,
                                            "Only told in the log: the engine decides"};
inline constexpr Preference<Presence> runningOnServer{"Running on OS X Server", "off",
                                                      "Kept in the file; it has no effect"};
inline constexpr Preference<Presence> exclude{"Exclude", "off",
                                              "Kept in the file; it has no effect"};
inline constexpr Preference<Presence> include{"Include", "off",
                                              "Kept in the file; it has no effect"};

}  // namespace key

// A preference of any type in the words of the documents.
struct PreferenceInWords {
  std::string name;
  std::string type;
  std::string whenAbsent;
  std::string sentence;
};

// Returns the whole table above, in its order.
std::vector<PreferenceInWords> everyPreference();

}  // namespace quillo
