#include "benchmarks/parts/Gauges.h"

#include <malloc.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

std::size_t heapInUse() {
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

void Tenths::time(const std::function<void()>& step) {
  const auto began = std::chrono::steady_clock::now();
  step();
  seconds_.push_back(
      std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count());
}

void Tenths::report(benchmark::State& state) const {
  const auto tenth = static_cast<std::ptrdiff_t>(seconds_.size() / 10);
  if (tenth == 0) {
    throw std::logic_error("fewer than ten steps");
  }
  const double first = median({seconds_.begin(), seconds_.begin() + tenth});
  const double last = median({seconds_.end() - tenth, seconds_.end()});
  state.counters["first_tenth"] = first;
  state.counters["last_tenth"] = last;
  state.counters["growth"] = last / first;
}

MillionFiles::MillionFiles() {
  std::string name = "/tmp/parts-bench-XXXXXX";
  if (!mkdtemp(name.data())) {
    throw std::runtime_error("no folder in /tmp");
  }
  top_ = name;
  for (std::size_t at = 0; at < folders; ++at) {
    std::filesystem::create_directory(folder(at));
    const std::string first = path(at * filesOfFolder);
    std::ofstream(first) << "contents";
    for (std::size_t file = 1; file < filesOfFolder; ++file) {
      if (link(first.c_str(), path(at * filesOfFolder + file).c_str()) != 0) {
        throw std::runtime_error("no more files in " + top_);
      }
    }
  }
}

const MillionFiles& MillionFiles::made() {
  static const MillionFiles files;
  return files;
}

std::string MillionFiles::folder(std::size_t number) const {
  return top_ + "/a folder of " + std::to_string(number);
}

std::string MillionFiles::path(std::size_t number) const {
  return folder(number / filesOfFolder) + "/a document of " +
         std::to_string(number % filesOfFolder) + ".txt";
}

}  // namespace bench
