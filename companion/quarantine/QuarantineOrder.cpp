#include "companion/quarantine/QuarantineOrder.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>
#include <utility>

#include "posix/Text.h"

namespace quillo {
namespace {

// A number, and where that is equal a text.
using Key = std::pair<std::int64_t, std::string>;

std::int64_t timeOf(const QuarantinedFile& file) {
  return file.hasRecord() ? file.record.moved.time_since_epoch().count() : 0;
}

Key keyOf(const QuarantinedFile& file, QuarantineOrder::By by, const QuarantineWords& words) {
  switch (by) {
    case QuarantineOrder::By::name:
      return {0, lowercased(file.formerName())};
    case QuarantineOrder::By::origin:
      return {0, lowercased(words.origin(file))};
    case QuarantineOrder::By::threat:
      return {0, lowercased(words.threat(file))};
    case QuarantineOrder::By::moved:
      return {timeOf(file), ""};
    case QuarantineOrder::By::size:
      return {file.identity.size, ""};
    case QuarantineOrder::By::state:
      break;
  }
  return {0, lowercased(words.state(file))};
}

}  // namespace

std::vector<std::size_t> placesIn(const QuarantineOrder& order,
                                  const std::vector<QuarantinedFile>& files,
                                  const QuarantineWords& words) {
  std::vector<Key> keys;
  keys.reserve(files.size());
  for (const QuarantinedFile& file : files) {
    keys.push_back(keyOf(file, order.by, words));
  }
  std::vector<std::size_t> places(files.size());
  std::iota(places.begin(), places.end(), std::size_t{0});
  const bool isAscending = order.isAscending();
  std::stable_sort(places.begin(), places.end(), [&](std::size_t one, std::size_t other) {
    return isAscending ? keys[one] < keys[other] : keys[other] < keys[one];
  });
  return places;
}

}  // namespace quillo
