#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/LocalizedStrings.h"

namespace quillo {

// A scan that comes again and again, as it is planned with the system. Times of the day are the
// machine's own.
struct PlannedScan {
  // `other`: what somebody has planned by other means and these words do not reach.
  enum class Often { daily, weekly, monthly, other };
  static constexpr int lastDayOfMonth = 28;  // that every month has

  std::string id;                    // "" until it is planned
  std::vector<std::string> folders;  // absolute paths of folders or files, any bytes
  Often often = Often::daily;
  int hour = 12;
  int minute = 0;
  int day = 1;  // of the week, from Monday, or of the month
  bool onlyOnMains = false;

  // What only the system says. Seconds since 1970, 0 where there is none.
  bool isActive = false;   // its time is waited for
  bool isRunning = false;  // it scans at this moment
  // When it last began to scan, as long as the system knows that: since the log-in.
  std::int64_t lastRun = 0;
  std::int64_t nextRun = 0;
  std::string calendar;      // its times in the system's own words
  bool isUnderstood = true;  // false: what it runs is no scan by this program
  std::string otherProgram;  // what it runs then; "" where that cannot be told

  // Returns true when both mean the same scan at the same times, whatever their ids. Pure.
  bool plansTheSameAs(const PlannedScan& other) const {
    const bool hasDay = often == Often::weekly || often == Often::monthly;
    return folders == other.folders && often == other.often && hour == other.hour &&
           minute == other.minute && (!hasDay || day == other.day) &&
           onlyOnMains == other.onlyOnMains;
  }
};

// What is planned with the system, which runs it whether or not this program does, and makes up for
// what was missed while the machine was off or asleep. Each operation asks the system anew and may
// take seconds; any thread but the main one, unless said otherwise. A problem is empty when there
// was none.
class PlannedScans {
 public:
  struct Listing {
    std::vector<PlannedScan> scans;  // by id
    Wording problem;
  };

  virtual ~PlannedScans() = default;
  virtual Listing list() = 0;
  // Plans a scan without an id anew, or has one that is planned be this one, and active. Where that
  // fails, what was planned before stays.
  virtual Wording put(const PlannedScan& scan) = 0;
  virtual Wording remove(const std::string& id) = 0;
  // Has it begin at once and does not wait for its end. Refuses what is not understood.
  virtual Wording runNow(const std::string& id) = 0;
  // Has one that runs end in order, with what it has found so far, and does not wait for that. One
  // that does not run counts as ended.
  virtual Wording end(const std::string& id) = 0;
  // Has `changed` called on the main thread whenever one has begun or ended. Main thread; waits for
  // nothing.
  virtual void observe(std::function<void()> changed) = 0;
};

}  // namespace quillo
