#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace quillo::tests {

// Chance that can be repeated. One thread.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : engine_(seed) {}

  // Returns a number from 0 to `end` - 1.
  std::size_t below(std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(engine_);
  }
  // Returns true once in so many times.
  bool once(std::size_t in) { return below(in) == 0; }
  template <typename T>
  T& oneOf(std::vector<T>& all) {
    return all[below(all.size())];
  }
  template <typename T>
  const T& oneOf(const std::vector<T>& all) {
    return all[below(all.size())];
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace quillo::tests
