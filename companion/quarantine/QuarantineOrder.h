#pragma once

#include <cstddef>
#include <vector>

#include "companion/quarantine/QuarantineWords.h"

namespace quillo {

// How files of the quarantine stand in their table. Texts go from A on, letters of ASCII counting
// as equal in both cases; the latest and the largest come first.
struct QuarantineOrder {
  // In the order of the table's columns.
  enum class By { name, origin, threat, moved, size, state };

  By by = By::moved;
  bool isReversed = false;

  // Returns true when what is smaller stands above what is larger.
  bool isAscending() const { return (by == By::moved || by == By::size) == isReversed; }
};

// Returns the places of all files in that order; equal ones stay as they stand. Any thread.
std::vector<std::size_t> placesIn(const QuarantineOrder& order,
                                  const std::vector<QuarantinedFile>& files,
                                  const QuarantineWords& words);

}  // namespace quillo
