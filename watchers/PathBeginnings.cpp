#include "watchers/PathBeginnings.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace quillo {

void PathBeginnings::add(std::string text, std::size_t number) {
  entries_.push_back({std::move(text), number, none});
}

void PathBeginnings::arrange() {
  std::sort(entries_.begin(), entries_.end(), [](const Entry& one, const Entry& other) {
    return std::tie(one.text, one.number) < std::tie(other.text, other.number);
  });
  std::size_t last = none;
  for (std::size_t index = 0; index < entries_.size(); ++index) {
    while (last != none && !entries_[index].text.starts_with(entries_[last].text)) {
      last = entries_[last].shorter;
    }
    entries_[index].shorter = std::exchange(last, index);
  }
}

std::vector<std::size_t> PathBeginnings::of(std::string_view path) const {
  const auto behind =
      std::upper_bound(entries_.begin(), entries_.end(), path,
                       [](std::string_view text, const Entry& entry) { return text < entry.text; });
  // Whatever lies between a beginning of the path and the path begins with it, too.
  std::size_t index = static_cast<std::size_t>(behind - entries_.begin()) - 1;
  while (index != none && !path.starts_with(entries_[index].text)) {
    index = entries_[index].shorter;
  }
  std::vector<std::size_t> numbers;
  for (; index != none; index = entries_[index].shorter) {
    numbers.push_back(entries_[index].number);
  }
  std::sort(numbers.begin(), numbers.end());
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  return numbers;
}

}  // namespace quillo
