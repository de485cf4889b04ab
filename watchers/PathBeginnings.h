#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quillo {

// Finds, among many texts, those that a path begins with. What it costs hardly depends on how many
// there are. One thread.
class PathBeginnings {
 public:
  // Adds a text that stands for `number`. To be followed by arrange() before anything is looked up.
  void add(std::string text, std::size_t number);
  void arrange();
  void clear() { entries_.clear(); }
  // Returns the numbers whose texts the path begins with, each once, the lowest first.
  std::vector<std::size_t> of(std::string_view path) const;

 private:
  static constexpr std::size_t none = static_cast<std::size_t>(-1);
  struct Entry {
    std::string text;
    std::size_t number = 0;
    std::size_t shorter = none;  // the longest other text that this one begins with
  };

  // In the order of their texts, so that whatever begins with one follows it.
  std::vector<Entry> entries_;
};

}  // namespace quillo
