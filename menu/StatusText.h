#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "posix/Clock.h"
#include "posix/Mutex.h"

namespace quillo {

class LocalizedStrings;

// How good the virus definitions are with which files are scanned.
enum class DefinitionState { goodOrUnknown, none, old };

// Why whoever believes to be guarded is not, or not well; the worst first.
enum class Attention {
  none,
  noPreferences,
  noEngine,
  engineFails,
  helperFails,
  noDefinitions,
  oldDefinitions,
  missingFolders,
  gaps
};

// What the words are made of.
struct StatusFacts {
  bool engineMissing = false;
  bool engineFails = false;  // its daemon has gone for good, or can unpack nothing
  // There is no engine since nobody has chosen anything yet.
  bool preferencesMissing = false;
  bool settingUp = false;
  bool updating = false;
  // The animation runs: a run of the engine too short for it is not worth a word.
  bool busy = false;
  bool watching = false;
  // No changed file is reported, whatever is meant to be watched.
  bool helperFails = false;
  std::size_t watchedFolders = 0;
  // Those among them in which changes can be missed.
  std::size_t placesWithGaps = 0;
  // Those that were chosen and are not there, and the first of them.
  std::size_t missingFolders = 0;
  std::string missingFolder;
  DefinitionState definitions = DefinitionState::goodOrUnknown;
  std::size_t daysOfDefinitions = 0;
  std::size_t filesBeingScanned = 0;
};

// What is said of the facts.
struct StatusLine {
  std::string words;
  Attention attention = Attention::none;

  bool operator==(const StatusLine&) const = default;
};

// Returns what needs attention: none while watching is being set up, or was stopped by its user.
Attention attentionFor(const StatusFacts& facts);

// What the agent is doing, in words of the user's language: shown when they have changed, and at
// most twice a second while only a count changes. Any thread; costs nothing while nobody calls.
class StatusText {
 public:
  static constexpr Clock::Duration shortestBetweenCounts = std::chrono::milliseconds(500);

  // `facts` is asked and `show` called with a lock held: neither may call back.
  StatusText(LocalizedStrings& strings, Clock& clock, std::function<StatusFacts()> facts,
             std::function<void(const StatusLine&)> show);

  // Shows the words if they have changed. To be called after something other than the count of
  // files has.
  void show();
  // Does the same for the animation, at every picture. A moment without files, between two runs of
  // the engine, is passed over.
  void showCount();
  // Returns the words for the facts.
  std::string wordsFor(const StatusFacts& facts) const;

 private:
  std::string text(const std::string& key) const;
  std::string number(std::size_t count) const;
  std::string counted(const std::string& key, std::size_t count) const;
  std::string wordsWhileWatching(const StatusFacts& facts) const;
  void showWords(const StatusFacts& facts) QUILLO_REQUIRES(mutex_);

  // Constant after construction.
  LocalizedStrings& strings_;
  Clock& clock_;
  const std::function<StatusFacts()> facts_;
  const std::function<void(const StatusLine&)> show_;

  Mutex mutex_;
  StatusLine shown_ QUILLO_GUARDED_BY(mutex_);
  std::optional<Clock::Duration> shownAt_ QUILLO_GUARDED_BY(mutex_);
};

// Returns the number in decimal, with `separator` between groups of three digits if it is `least`
// or more. Pure.
std::string groupedDigits(std::uint64_t number, std::string_view separator, std::size_t least);
// Returns the number with its digits grouped as usual in that language. Any thread.
std::string numberIn(LocalizedStrings& strings, std::uint64_t number);

}  // namespace quillo
