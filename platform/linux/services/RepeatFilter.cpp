#include "platform/linux/services/RepeatFilter.h"

#include <algorithm>

namespace quillo {
namespace {

std::string grouped(std::uint64_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3;) {
    at -= 3;
    digits.insert(at, ",");
  }
  return digits;
}

std::string repeatsOf(const std::string& line, std::uint64_t repeats) {
  return line + (repeats == 1 ? " (repeated once)" : " (repeated " + grouped(repeats) + " times)");
}

}  // namespace

std::vector<std::string> RepeatFilter::pass(std::string_view line) {
  std::vector<std::string> out = takeDue();
  if (isNeverCounted_ && isNeverCounted_(line)) {
    out.emplace_back(line);
    return out;
  }
  const auto known = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& each) { return each.line == line; });
  if (known != entries_.end()) {
    if (known->written > repeatsWritten) {
      ++known->counted;
      return out;
    }
    ++known->written;
    out.emplace_back(line);
    return out;
  }
  if (entries_.size() == mostLines) {
    if (entries_.front().counted > 0) {
      out.push_back(repeatsOf(entries_.front().line, entries_.front().counted));
    }
    entries_.erase(entries_.begin());
  }
  entries_.push_back({std::string(line), clock_.now()});
  out.emplace_back(line);
  return out;
}

std::vector<std::string> RepeatFilter::takeDue() { return take(false); }

std::vector<std::string> RepeatFilter::takeAll() { return take(true); }

std::vector<std::string> RepeatFilter::take(bool all) {
  const Clock::Duration now = clock_.now();
  std::vector<std::string> out;
  std::vector<Entry> kept;
  for (Entry& entry : entries_) {
    if (!all && now - entry.first < window) {
      kept.push_back(std::move(entry));
    } else if (entry.counted > 0) {
      out.push_back(repeatsOf(entry.line, entry.counted));
    }
  }
  entries_ = std::move(kept);
  return out;
}

}  // namespace quillo
