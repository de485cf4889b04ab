#include "menu/StatusText.h"

#include <utility>

#include "platform/LocalizedStrings.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::size_t digitsInGroup = 3;
constexpr std::size_t defaultLeastGrouped = 1000;

}  // namespace

std::string groupedDigits(std::uint64_t number, std::string_view separator, std::size_t least) {
  std::string digits = std::to_string(number);
  if (number < least) {
    return digits;
  }
  for (std::size_t place = digits.size(); place > digitsInGroup;) {
    place -= digitsInGroup;
    digits.insert(place, separator);
  }
  return digits;
}

std::string numberIn(LocalizedStrings& strings, std::uint64_t number) {
  const auto least = numberIn<std::size_t>(strings.stringForKey("DIGITS_GROUPED_FROM", ""));
  return groupedDigits(number, strings.stringForKey("DIGITS_SEPARATOR", ""),
                       least.value_or(defaultLeastGrouped));
}

StatusText::StatusText(LocalizedStrings& strings, Clock& clock, std::function<StatusFacts()> facts,
                       std::function<void(const StatusLine&)> show)
    : strings_(strings), clock_(clock), facts_(std::move(facts)), show_(std::move(show)) {}

void StatusText::show() {
  MutexLock hold(mutex_);
  showWords(facts_());
}

void StatusText::showCount() {
  MutexLock hold(mutex_);
  if (shownAt_ && clock_.now() - *shownAt_ < shortestBetweenCounts) {
    return;
  }
  const StatusFacts facts = facts_();
  if (facts.filesBeingScanned > 0 || facts.updating || facts.engineMissing || facts.engineFails) {
    showWords(facts);
  }
}

void StatusText::showWords(const StatusFacts& facts) {
  StatusLine line{wordsFor(facts), attentionFor(facts)};
  if (line == shown_) {
    return;
  }
  shown_ = std::move(line);
  shownAt_ = clock_.now();
  show_(shown_);
}

Attention attentionFor(const StatusFacts& facts) {
  if (facts.engineMissing) {
    return facts.preferencesMissing ? Attention::noPreferences : Attention::noEngine;
  }
  if (facts.settingUp || !facts.watching) {
    return Attention::none;
  }
  if (facts.engineFails) {
    return Attention::engineFails;
  }
  if (facts.helperFails) {
    return Attention::helperFails;
  }
  if (facts.watchedFolders > 0 && facts.definitions == DefinitionState::none) {
    return Attention::noDefinitions;
  }
  if (facts.watchedFolders > 0 && facts.definitions == DefinitionState::old) {
    return Attention::oldDefinitions;
  }
  if (facts.missingFolders > 0) {
    return Attention::missingFolders;
  }
  return facts.watchedFolders > 0 && facts.placesWithGaps > 0 ? Attention::gaps : Attention::none;
}

std::string StatusText::wordsFor(const StatusFacts& facts) const {
  if (facts.engineMissing) {
    return text(facts.preferencesMissing ? "STATUS_NO_PREFERENCES" : "STATUS_NO_ENGINE");
  }
  if (facts.settingUp) {
    return text("WAIT");
  }
  if (facts.updating) {
    return text("STATUS_UPDATING");
  }
  if (facts.watching && facts.engineFails) {
    return text("STATUS_ENGINE_FAILS");
  }
  if (facts.busy && facts.filesBeingScanned > 0) {
    return counted("STATUS_SCANNING", facts.filesBeingScanned);
  }
  return facts.watching ? wordsWhileWatching(facts) : text("STATUS_IDLE");
}

std::string StatusText::wordsWhileWatching(const StatusFacts& facts) const {
  if (facts.helperFails) {
    return text("STATUS_HELPER_FAILS");
  }
  const Wording missing = facts.missingFolders == 1
                              ? Wording{"STATUS_NOT_THERE_ONE", {facts.missingFolder}}
                              : Wording{"STATUS_NOT_THERE", {number(facts.missingFolders)}};
  const auto butFor = [this](const std::string& watching, const std::string& reason) {
    return Wording{"STATUS_BUT", {watching, reason}}.in(strings_);
  };
  if (facts.watchedFolders == 0) {
    return facts.missingFolders == 0 ? text("STATUS_IDLE")
                                     : butFor(text("STATUS_IDLE"), missing.in(strings_));
  }
  std::string watching = counted("STATUS_WATCHING", facts.watchedFolders);
  switch (attentionFor(facts)) {
    case Attention::noDefinitions:
      return butFor(watching, text("STATUS_NO_DEFINITIONS"));
    case Attention::oldDefinitions:
      return butFor(
          watching,
          Wording{"STATUS_OLD_DEFINITIONS", {number(facts.daysOfDefinitions)}}.in(strings_));
    case Attention::missingFolders:
      return butFor(watching, missing.in(strings_));
    case Attention::gaps:
      return replacingAll(text("STATUS_PARTLY"), "%@", watching);
    default:
      return watching;
  }
}

std::string StatusText::text(const std::string& key) const {
  return strings_.stringForKey(key, "");
}

std::string StatusText::number(std::size_t count) const { return numberIn(strings_, count); }

std::string StatusText::counted(const std::string& key, std::size_t count) const {
  return count == 1 ? text(key + "_ONE") : replacingAll(text(key), "%@", number(count));
}

}  // namespace quillo
