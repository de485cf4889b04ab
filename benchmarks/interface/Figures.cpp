#include "benchmarks/interface/Figures.h"

#include <poll.h>

#include <algorithm>
#include <cstdio>

namespace bench {

Milliseconds now() { return std::chrono::steady_clock::now().time_since_epoch(); }

void pause(Milliseconds length) {
  const Milliseconds end = now() + length;
  for (Milliseconds left = length; left.count() > 0; left = end - now()) {
    poll(nullptr, 0, static_cast<int>(left.count()) + 1);
  }
}

double quantile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  const auto last = static_cast<double>(values.size() - 1);
  return values.at(static_cast<std::size_t>(last * share));
}

void print(const std::string& what, std::vector<double> values, const std::string& unit) {
  const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
  std::printf("%-58s %8.2f %s  (%.2f to %.2f)\n", what.c_str(), quantile(values, 0.5), unit.c_str(),
              *least, *greatest);
  std::fflush(stdout);
}

}  // namespace bench
