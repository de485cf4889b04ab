#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

// Returns the bytes that this process has taken from the heap and not given back, those around each
// piece included (mallinfo(3)). Any thread.
std::size_t heapInUse();

// How long each of many like steps took: whether the last ones cost more than the first, for what
// was done between them. One thread.
class Tenths {
 public:
  // Takes the step and notes its time.
  void time(const std::function<void()>& step);
  // Adds the counters `first_tenth` and `last_tenth`, the medians of a step's seconds, and
  // `growth`, the one by the other.
  void report(benchmark::State& state) const;

 private:
  std::vector<double> seconds_;
};

// A thousand folders of a thousand files each. The files of one folder are one by a thousand names,
// so that they are made in a second.
class MillionFiles {
 public:
  static constexpr std::size_t folders = 1000;
  static constexpr std::size_t filesOfFolder = 1000;
  static constexpr std::size_t count = folders * filesOfFolder;

  // Made at the first call.
  static const MillionFiles& made();

  // In the order in which they would be saved.
  std::string path(std::size_t number) const;

 private:
  MillionFiles();
  std::string folder(std::size_t number) const;

  std::string top_;
};

}  // namespace bench
