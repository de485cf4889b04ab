#include "benchmarks/support/Samples.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace bench {
namespace {

std::vector<double> sorted(std::vector<double> values) {
  if (values.empty()) {
    throw std::out_of_range("nothing was measured");
  }
  std::sort(values.begin(), values.end());
  return values;
}

}  // namespace

double Samples::median() const {
  const std::vector<double> inOrder = sorted(values_);
  const std::size_t middle = inOrder.size() / 2;
  return inOrder.size() % 2 == 1 ? inOrder[middle] : (inOrder[middle - 1] + inOrder[middle]) / 2;
}

double Samples::least() const { return sorted(values_).front(); }

double Samples::greatest() const { return sorted(values_).back(); }

Samples Samples::over(const Samples& others) const {
  Samples ratios;
  for (std::size_t index = 0; index < std::min(values_.size(), others.values_.size()); ++index) {
    ratios.add(values_[index] / others.values_[index]);
  }
  return ratios;
}

std::string threeDigits(double value) {
  constexpr int digits = 3;
  constexpr int mostDecimals = 4;
  if (!std::isfinite(value)) {
    return "–";
  }
  const int before =
      value == 0 ? 1 : static_cast<int>(std::floor(std::log10(std::fabs(value)))) + 1;
  const double step = std::pow(10.0, std::max(before - digits, 0));
  const int decimals = value == std::floor(value) ? 0 : digits - before;
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", std::clamp(decimals, 0, mostDecimals),
                before > digits ? std::round(value / step) * step : value);
  return text;
}

std::string inWords(const Samples& samples) {
  if (samples.empty()) {
    return "–";
  }
  std::string median = threeDigits(samples.median());
  const std::string least = threeDigits(samples.least());
  const std::string greatest = threeDigits(samples.greatest());
  if (least == greatest) {
    return median;
  }
  return median + " (" + least + "–" + greatest + ")";
}

}  // namespace bench
