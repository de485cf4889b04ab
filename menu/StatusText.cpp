#include "menu/StatusText.h"

#include <charconv>
#include <utility>

#include "platform/LocalizedStrings.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::size_t digitsInGroup = 3;
constexpr std::size_t defaultLeastGrouped = 1000;

std::size_t numberIn(const std::string& text, std::size_t fallback) {
  std::size_t number = fallback;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

}  // namespace

std::string groupedDigits(std::size_t number, std::string_view separator, std::size_t least) {
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

StatusText::StatusText(LocalizedStrings& strings, Clock& clock, std::function<StatusFacts()> facts,
                       std::function<void(const std::string&)> show)
    : strings_(strings), clock_(clock), facts_(std::move(facts)), show_(std::move(show)) {}

void StatusText::tell() {
  MutexLock hold(mutex_);
  showWords(facts_());
}

void StatusText::tellCount() {
  MutexLock hold(mutex_);
  if (shownAt_ && clock_.now() - *shownAt_ < shortestBetweenCounts) {
    return;
  }
  const StatusFacts facts = facts_();
  if (facts.filesBeingScanned > 0 || facts.updating || facts.engineMissing) {
    showWords(facts);
  }
}

void StatusText::showWords(const StatusFacts& facts) {
  std::string words = wordsFor(facts);
  if (words == shown_) {
    return;
  }
  shown_ = std::move(words);
  shownAt_ = clock_.now();
  show_(shown_);
}

std::string StatusText::wordsFor(const StatusFacts& facts) const {
  if (facts.engineMissing) {
    return strings_.stringForKey("STATUS_NO_ENGINE", "");
  }
  if (facts.settingUp) {
    return strings_.stringForKey("WAIT", "");
  }
  if (facts.updating) {
    return strings_.stringForKey("STATUS_UPDATING", "");
  }
  if (facts.busy && facts.filesBeingScanned > 0) {
    return counted("STATUS_SCANNING", facts.filesBeingScanned);
  }
  if (facts.watching && facts.helperFails) {
    return strings_.stringForKey("STATUS_HELPER_FAILS", "");
  }
  if (facts.watching && facts.watchedFolders > 0) {
    const std::string words = counted("STATUS_WATCHING", facts.watchedFolders);
    return facts.placesWithGaps == 0
               ? words
               : replacingAll(strings_.stringForKey("STATUS_PARTLY", ""), "%@", words);
  }
  return strings_.stringForKey("STATUS_IDLE", "");
}

std::string StatusText::counted(const std::string& key, std::size_t count) const {
  if (count == 1) {
    return strings_.stringForKey(key + "_ONE", "");
  }
  const std::size_t least =
      numberIn(strings_.stringForKey("DIGITS_GROUPED_FROM", ""), defaultLeastGrouped);
  return replacingAll(strings_.stringForKey(key, ""), "%@",
                      groupedDigits(count, strings_.stringForKey("DIGITS_SEPARATOR", ""), least));
}

}  // namespace quillo
