#pragma once

#include <string>
#include <vector>

namespace bench {

// One thing, measured several times. Pure; one thread.
class Samples {
 public:
  Samples() = default;
  explicit Samples(std::vector<double> values) : values_(std::move(values)) {}

  void add(double value) { values_.push_back(value); }
  bool empty() const { return values_.empty(); }
  const std::vector<double>& values() const { return values_; }

  // Of an even number the mean of the two in the middle; throw std::out_of_range where nothing was
  // measured.
  double median() const;
  double least() const;
  double greatest() const;

  // Each divided by what was measured in the same round, as far as both go.
  Samples over(const Samples& others) const;

 private:
  std::vector<double> values_;
};

// Three significant digits, no exponent: "0.0123", "4.81", "33.6", "12300".
std::string threeDigits(double value);
// "4.81 (4.70–5.02)", the median with the least and the greatest; one number alone where all read
// the same; "–" where nothing was measured.
std::string inWords(const Samples& samples);

}  // namespace bench
