#include "benchmarks/interface/LongLists.h"

#include <fcntl.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "benchmarks/interface/Figures.h"
#include "history/HistoryStore.h"
#include "platform/SystemLog.h"
#include "posix/FileIdentity.h"
#include "posix/UniqueFd.h"
#include "quarantine/RecordFolder.h"

namespace bench {
namespace {

using quillo::HistoryBatch;
using quillo::HistoryResult;
using quillo::QuarantineRecord;

constexpr int rowsTogether = 2'000;
constexpr int rowsOfStorm = 10'000;  // a second
constexpr std::chrono::seconds betweenRows(20);
constexpr std::chrono::hours tenYears(24 * 3650);
constexpr std::int64_t enough = 4'000'000'000;

class PrintingLog final : public quillo::SystemLog {
 public:
  void log(std::string_view message) override {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
  }
};

HistoryResult found(int number, quillo::WallTime time) {
  HistoryResult result;
  result.time = time;
  result.outcome = HistoryResult::Outcome::leftInPlace;
  result.path = "/home/anna/project/" + std::to_string(number % 500) + "/folder/file number " +
                std::to_string(number) + ".bin";
  result.says = "Some.Threat.Name-" + std::to_string(number % 1000);
  return result;
}

}  // namespace

void makeLongHistory(const std::string& folder) {
  quillo::SystemClock clock;
  PrintingLog log;
  quillo::HistoryStore store(folder, clock, log, {enough, tenYears});
  const quillo::WallTime end = clock.wallTime();
  for (int first = 0; first < rowsOfHistory; first += rowsTogether) {
    HistoryBatch batch;
    for (int row = first; row < first + rowsTogether; ++row) {
      batch.changes.emplace_back(found(row, end - betweenRows * (rowsOfHistory - row)));
    }
    store.write(batch);
  }
}

void makeFullQuarantine(const std::string& folder) {
  std::filesystem::create_directories(folder);
  std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
  const quillo::UniqueFd opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  quillo::RecordFolder records;
  if (!opened || records.open(opened.get(), quillo::RecordFolder::Missing::made) != 0) {
    throw std::runtime_error(folder + " cannot be a quarantine");
  }
  const QuarantineRecord::Time end = std::chrono::system_clock::now();
  for (int number = 0; number < filesOfQuarantine; ++number) {
    QuarantineRecord record;
    record.state = QuarantineRecord::State::moved;
    record.name = "file number " + std::to_string(number) + ".bin";
    std::ofstream(folder + "/" + record.name) << "contents of " << number;
    record.origin = "/home/anna/project/" + std::to_string(number % 500) + "/" + record.name;
    record.threat = "Some.Threat.Name-" + std::to_string(number % 1000);
    record.moved = end - betweenRows * (filesOfQuarantine - number);
    record.identity = quillo::FileIdentity::in(opened.get(), record.name).value();
    record.hash = quillo::sha256Of("contents of " + std::to_string(number));
    if (records.add(record) != 0) {
      throw std::runtime_error("no record can be written in " + folder);
    }
  }
}

void storm(const std::string& historyFolder, int seconds) {
  quillo::SystemClock clock;
  PrintingLog log;
  quillo::HistoryStore store(historyFolder, clock, log, {enough, tenYears});
  const Milliseconds begin = now();
  for (int second = 0; second < seconds; ++second) {
    for (int first = 0; first < rowsOfStorm; first += rowsTogether) {
      HistoryBatch batch;
      for (int row = first; row < first + rowsTogether; ++row) {
        batch.changes.emplace_back(found(row, clock.wallTime()));
      }
      store.write(batch);
    }
    pause(begin + std::chrono::seconds(second + 1) - now());
  }
}

}  // namespace bench
