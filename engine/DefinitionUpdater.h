#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "posix/ChildProcess.h"

namespace quillo {

struct WatchSettings;

// How the engine's updater (freshclam(1)) is run: with the argument that names its log, where a
// preference does, and the one that tells an update from none. Its path is "" where none is known.
LaunchRequest definitionUpdateRequest(const WatchSettings& settings);

// What an update of the virus definitions came to.
enum class UpdateResult {
  updated,
  upToDate,
  offline,      // no server could be reached
  coolDown,     // refused for a while, since it was asked too often
  refused,      // refused by the server
  locked,       // another updater, or the machine's own service, has the log
  machineOnly,  // the definitions are the machine's, and only an administrator renews them
  notWritable,  // the folder of the definitions cannot be written
  noEngine,     // the updater is not there, or cannot be run
  failed        // anything else: the update log says what
};

// Returns it by exit status and output of a run, as freshclam 1.4 has been seen to end.
// `exit1MeansUpdated` with the argument for it. Pure.
UpdateResult updateResultOf(int status, bool exit1MeansUpdated, std::string_view output);

// How much of a file has been downloaded, in bytes.
struct UpdateProgress {
  std::uint64_t done = 0;
  std::uint64_t all = 0;

  bool operator==(const UpdateProgress&) const = default;
};

// Returns the last progress in what the updater has printed so far with --show-progress, rounded as
// it prints it; nothing before there is any. Pure.
std::optional<UpdateProgress> updateProgressIn(std::string_view output);

}  // namespace quillo
