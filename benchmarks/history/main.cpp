// Measures what the history costs the agent, and how soon a long one is shown. See ./bench.

#include <pthread.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "clamav/Verdict.h"
#include "history/HistoryReader.h"
#include "history/HistoryRecorder.h"
#include "history/HistoryWriter.h"
#include "platform/Folders.h"
#include "platform/SystemLog.h"
#include "posix/Clock.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

using Seconds = std::chrono::duration<double>;
using std::chrono::steady_clock;

constexpr int seconds = 10;
constexpr int verdictsASecond = 10'000;
constexpr int bursts = 100;  // a second
constexpr int realFiles = 2'000;
constexpr int rows = 1'000'000;
constexpr std::size_t rowsOfPage = 50;

double processorTimeOf(clockid_t clock) {
  timespec time = {};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

class PrintingLog final : public SystemLog {
 public:
  void log(std::string_view message) override {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
  }
};

class NoTrash final : public TrashFolders {
 public:
  bool isEnclosedByTrash(const std::string&) override { return false; }
};

// One thread, and the processor time that it took.
class MeasuredThread final : public ThreadStarter {
 public:
  ~MeasuredThread() override {
    if (thread_.joinable()) {
      thread_.join();
    }
  }
  void detachNewThread(const std::string&, std::function<void()> body) override {
    thread_ = std::thread([this, body = std::move(body)] {
      body();
      taken_ = processorTimeOf(CLOCK_THREAD_CPUTIME_ID);
    });
  }
  double taken() {
    thread_.join();
    return taken_;
  }

 private:
  double taken_ = 0;
  std::thread thread_;
};

// A folder that is gone with the object.
class Scratch {
 public:
  Scratch() {
    std::string name = "/tmp/history-bench-XXXXXX";
    if (!mkdtemp(name.data())) {
      throw std::runtime_error("no folder in /tmp");
    }
    path_ = name;
  }
  ~Scratch() { std::filesystem::remove_all(path_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

double megabytesIn(const std::string& folder) {
  double bytes = 0;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    bytes += static_cast<double>(file.file_size());
  }
  return bytes / 1e6;
}

std::vector<Verdict> makeVerdicts(const std::string& home, int findsOfHundred) {
  std::vector<Verdict> verdicts;
  for (int at = 0; at < realFiles; ++at) {
    const std::string folder = home + "/project/" + std::to_string(at % 40) + "/source";
    std::filesystem::create_directories(folder);
    const std::string path = folder + "/a file of " + std::to_string(at) + ".txt";
    std::ofstream(path) << "contents";
    verdicts.push_back(Verdict::parse(
        path + (at % 100 < findsOfHundred ? ": Some.Threat.Name-1234567-0 FOUND" : ": OK")));
  }
  return verdicts;
}

// As the scanners report: a little every hundredth of a second.
void measureVerdicts(const char* what, int findsOfHundred) {
  const Scratch scratch;
  SystemClock clock;
  PrintingLog log;
  NoTrash trash;
  MeasuredThread thread;
  const std::vector<Verdict> verdicts = makeVerdicts(scratch.path(), findsOfHundred);
  HistoryWriter writer({clock, log, scratch.path() + "/state", scratch.path(), {}, {}});
  HistoryRecorder recorder(writer, trash, clock, ScanSource::agent);
  writer.begin(thread);
  double caller = 0;
  std::size_t next = 0;
  const auto began = steady_clock::now();
  for (int burst = 0; burst < seconds * bursts; ++burst) {
    const double before = processorTimeOf(CLOCK_THREAD_CPUTIME_ID);
    for (int at = 0; at < verdictsASecond / bursts; ++at) {
      recorder.record(verdicts[next++ % verdicts.size()], InfectedFileAction::leaveInPlace);
    }
    caller += processorTimeOf(CLOCK_THREAD_CPUTIME_ID) - before;
    const auto due = began + std::chrono::milliseconds(1000 / bursts) * (burst + 1);
    clock.sleepFor(std::max(Clock::Duration(due - steady_clock::now()), Clock::Duration(0)));
  }
  const double length = Seconds(steady_clock::now() - began).count();
  writer.end(std::chrono::seconds(10));
  const double written = thread.taken();
  std::printf("%-34s %6.2f %% of a core: caller %.2f %%, writer %.2f %%  (%.0f a second)\n", what,
              100 * (caller + written) / length, 100 * caller / length, 100 * written / length,
              static_cast<double>(next) / length);
}

HistoryBatch batchFrom(int first, WallTime now) {
  HistoryBatch batch;
  for (int at = first; at < first + 2'000; ++at) {
    HistoryResult result;
    result.time = now - std::chrono::seconds(20 * (rows - at));
    result.kind = at % 3 == 0 ? HistoryResult::Kind::found : HistoryResult::Kind::notScanned;
    result.path = "/home/anna/project/" + std::to_string(at % 500) + "/folder/file number " +
                  std::to_string(at) + ".bin";
    result.says = "Some.Threat.Name-" + std::to_string(at % 1000);
    batch.changes.emplace_back(result);
  }
  for (int folder = 0; folder < 50; ++folder) {
    batch.scanned[{calendarDayOf(now - std::chrono::seconds(20 * (rows - first))),
                   "/home/anna/project/" + std::to_string(folder)}] = {100, 100'000};
  }
  return batch;
}

double timed(const char* what, const std::function<void()>& body) {
  const auto before = steady_clock::now();
  body();
  const double milliseconds = 1000 * Seconds(steady_clock::now() - before).count();
  if (what) {
    std::printf("%-46s %10.2f ms\n", what, milliseconds);
  }
  return milliseconds;
}

void fill(const std::string& folder, HistoryLimits limits, const char* what) {
  SystemClock clock;
  PrintingLog log;
  HistoryStore store(folder, clock, log, limits);
  double longest = 0;
  double all = 0;
  double most = 0;
  for (int at = 0; at < rows; at += 2'000) {
    const HistoryBatch batch = batchFrom(at, clock.wallTime());
    const double taken = timed(nullptr, [&] { store.write(batch); });
    longest = std::max(longest, taken);
    all += taken;
    most = std::max(most, megabytesIn(folder));
  }
  std::printf("%-46s %10.2f µs a row, longest batch of 2,000 %.0f ms, at most %.1f MB on disk\n",
              what, 1000 * all / rows, longest, most);
}

void measureReading(const std::string& folder) {
  const WallTime now = std::chrono::system_clock::now();
  timed("open, count, first page", [&] {
    HistoryReader reader(folder);
    reader.open();
    reader.rows(reader.select({}), 0, rowsOfPage);
  });
  HistoryReader reader(folder);
  const HistorySelection all = reader.select({});
  std::printf("%-46s %10zu\n", "rows", all.count());
  double longest = 0;
  for (std::size_t page = 0; page < 1000; ++page) {
    const std::size_t row = page * 7919 * rowsOfPage % all.count();
    longest = std::max(longest, timed(nullptr, [&] { reader.rows(all, row, rowsOfPage); }));
  }
  std::printf("%-46s %10.2f ms\n", "longest of 1,000 pages anywhere", longest);
  timed("choose by kind", [&] { reader.select({{}, HistoryResult::Kind::found, {}, {}}); });
  timed("choose the last 30 days", [&] {
    reader.select({{}, {}, {}, now - std::chrono::hours(24 * 30)});
  });
  timed("search a text", [&] { reader.select({"number 77777", {}, {}, {}}); });
  const HistorySelection found = reader.select({{}, HistoryResult::Kind::found, {}, {}});
  timed("a page in the middle of a choice",
        [&] { reader.rows(found, found.count() / 2, rowsOfPage); });
  timed("totals of the last 30 days",
        [&] { reader.totalsSince(now - std::chrono::hours(24 * 30)); });
  timed("busiest folders", [&] { reader.busiestFolders(0, 1000); });
}

void measure() {
  std::printf("%d verdicts a second for %d seconds\n", verdictsASecond, seconds);
  measureVerdicts("clean files alone", 0);
  measureVerdicts("one of a hundred found", 1);
  measureVerdicts("every file found", 100);
  std::printf("\n1,000,000 results\n");
  const Scratch scratch;
  fill(scratch.path() + "/all", {4'000'000'000, std::chrono::hours(24 * 3650)},
       "written, all kept");
  measureReading(scratch.path() + "/all");
  std::printf("\nWith the bound of 50 MB\n");
  fill(scratch.path() + "/bound", {}, "written, the oldest dropped");
  measureReading(scratch.path() + "/bound");
}

}  // namespace
}  // namespace quillo

int main() {
  try {
    quillo::measure();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
