#include "scanning/ScanReport.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>

#include "clamav/Verdict.h"
#include "platform/Notifier.h"
#include "platform/SystemLog.h"
#include "posix/Clock.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "scanning/PipelineObserver.h"
#include "scanning/PutBackFiles.h"
#include "scanning/ScannerOwner.h"

namespace quillo {
namespace {

constexpr std::string_view infectionMark = " FOUND";
constexpr std::string_view daemonGone = "WARNING: Can't connect to clamd.";
// How current engines word it, once for every entry of the list.
constexpr std::string_view daemonUnreachable = "ERROR: Could not connect to clamd on LocalSocket ";

bool isSummary(const std::string& line) {
  const std::string_view start = std::string_view(line).substr(0, 5);
  return start == "-----" || start == "Time:" || start == "Infec";
}

}  // namespace

std::string scanLogTimestamp(Clock& clock) {
  char buffer[30] = "";
  const std::time_t now = std::chrono::system_clock::to_time_t(clock.wallTime());
  std::tm local = {};
  if (!localtime_r(&now, &local) ||
      std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &local) == 0) {
    buffer[0] = 'X';
  }
  return buffer;
}

void writeScanLogLine(const std::string& timestamp, const std::string& text) {
  std::printf("%s %s\n", timestamp.c_str(), text.c_str());
  std::fflush(stdout);
}

ScanReport::ScanReport(ScannerOwner& owner, const ScannerServices& services, ReportRules rules)
    : owner_(owner),
      services_(services),
      rules_(rules),
      consequences_(owner, services, rules.waitsForOpener) {}

void ScanReport::startRun(const InfectionPolicy& policy, const std::vector<std::string>& paths) {
  consequences_.setPolicy(policy);
  verdicts_ = VerdictReceiver::make();
  if (verdicts_ && services_.progressObserver) {
    verdicts_->setProgressHandler(
        [observer = services_.progressObserver](const ScanProgress& progress) {
          observer->progressed(progress);
        });
  }
  limitNotice_.clear();
  unjudged_ = {paths.begin(), paths.end()};
  recovered_ = false;
  daemonWasGone_ = false;
  failureOfScanner_.clear();
  left_ = {};
  hasJudged_ = false;
  hasEnded_ = false;
  saysOfFiles_ = false;
}

void ScanReport::scannerFailed(int status) {
  failureOfScanner_ = "the scanner ended with status " + std::to_string(status);
}

std::vector<std::string> ScanReport::unjudged() const {
  std::vector<std::string> paths(unjudged_.begin(), unjudged_.end());
  std::sort(paths.begin(), paths.end());
  return paths;
}

// The button may outlive this object, not its owner.
void ScanReport::endRun(bool isAborted) {
  limitNotice_.post(services_.notifier, services_.localizedStrings, [&owner = owner_] {
    if (!owner.openPage("results")) {
      owner.openScanLog();
    }
  });
  if (!services_.unscannedFiles) {
    return;
  }
  if (hasEnded_ && !saysOfFiles_ && !daemonWasGone_) {
    failureOfScanner_ = "the scanner said nothing of it";
  }
  left_.byScanner = !failureOfScanner_.empty() && !unjudged_.empty();
  if (left_.byScanner && !isAborted) {
    leaveUnjudged(failureOfScanner_);
  } else if (daemonWasGone_ && !isAborted) {
    leaveUnjudged("the daemon cannot be reached");
  }
  left_.hasJudged = hasJudged_;
  services_.unscannedFiles->runEnded(left_);
}

// The distribution's client says that it cannot reach the daemon, and not for which files; one that
// was killed says nothing at all.
void ScanReport::leaveUnjudged(const std::string& reason) {
  const std::string timestamp = scanLogTimestamp(services_.clock);
  for (const std::string& path : unjudged()) {
    Verdict verdict;
    verdict.kind = Verdict::Kind::notScanned;
    verdict.path = path;
    verdict.reason = reason;
    verdict.line = reportedText(path) + ": Not scanned: " + verdict.reason;
    verdict.daemonGone = Verdict::DaemonGone::before;
    writeLine(timestamp, verdict.line);
    if (!comesBack(verdict)) {
      services_.scanObserver.verdictGiven(verdict);
    }
  }
}

bool ScanReport::comesBack(const Verdict& verdict) {
  daemonWasGone_ = daemonWasGone_ || verdict.daemonGone != Verdict::DaemonGone::no;
  if (!services_.unscannedFiles) {
    return false;
  }
  const UnscannedFiles::Outcome outcome = services_.unscannedFiles->take(verdict);
  left_.comesBack += outcome == UnscannedFiles::Outcome::comesBack ? 1 : 0;
  left_.tooOften += outcome == UnscannedFiles::Outcome::tooOften ? 1 : 0;
  left_.tooMany += outcome == UnscannedFiles::Outcome::tooMany ? 1 : 0;
  return outcome == UnscannedFiles::Outcome::comesBack;
}

int ScanReport::getLastColon(std::string_view text) { return lastColon(text); }

void ScanReport::dealWithOutput(std::string_view chunk) {
  const std::string timestamp = scanLogTimestamp(services_.clock);
  if (!isValidUtf8(chunk)) {
    return;
  }
  if (verdicts_) {
    verdicts_->chunkRead();
  }
  for (const std::string_view line : split(chunk, '\n')) {
    dealWithLine(std::string(line), timestamp);
  }
}

void ScanReport::dealWithLine(const std::string& line, const std::string& timestamp) {
  std::optional<bool> wasPutBack;
  Verdict verdict = understood(line, wasPutBack);
  const bool isInfected = verdict.kind == Verdict::Kind::infected;
  const bool isJudged = isInfected || verdict.kind == Verdict::Kind::clean;
  if (isJudged && !std::exchange(hasJudged_, true)) {
    // Whoever judges can be reached.
    services_.notifier.withdraw(engineTopic);
  }
  // What the scanner was answered holds, even if the file has changed since.
  const bool isSpared = isInfected && (wasPutBack ? *wasPutBack : isPutBack(verdict));
  verdict.isSpared = isSpared;
  if (isInfected && !isSpared && services_.putBackFiles &&
      verdict.whereabouts == Verdict::Whereabouts::moved) {
    services_.putBackFiles->wasMoved(verdict);
  }
  if (isInfected && !isSpared) {
    consequences_.drawFrom(verdict);
  }
  limitNotice_.add(verdict, services_.reportedFiles);
  unjudged_.erase(verdict.path);
  saysOfFiles_ = saysOfFiles_ || verdict.path.starts_with('/');
  if (!comesBack(verdict) && verdict.path.starts_with('/')) {
    services_.scanObserver.verdictGiven(verdict);
  }
  logLine(line, timestamp);
  if (isSpared) {
    writeLine(timestamp, reportedText(verdict.file()) +
                             ": not warned of again: it was put back and has not changed");
  }
}

// By the user, who has been shown it: what the engine moved just now was not.
bool ScanReport::isPutBack(const Verdict& infection) const {
  return services_.putBackFiles && infection.whereabouts != Verdict::Whereabouts::moved &&
         services_.putBackFiles->isPutBack(infection);
}

// Which lines are infections is a rule of the scanner's own, whatever else the line looks like.
Verdict ScanReport::understood(const std::string& line, std::optional<bool>& wasPutBack) {
  // A file that its user put back stays, also where infected ones are moved.
  const auto mayMove = [this, &wasPutBack](const Verdict& infection) {
    wasPutBack = isPutBack(infection);
    return !*wasPutBack;
  };
  Verdict verdict = verdicts_ ? verdicts_->understand(line, mayMove) : Verdict::parse(line);
  if (!isInfection(line)) {
    if (verdict.kind == Verdict::Kind::infected) {
      verdict.kind = Verdict::Kind::message;
    }
  } else if (verdict.kind != Verdict::Kind::infected) {
    const int colon = getLastColon(line);
    verdict.kind = Verdict::Kind::infected;
    verdict.path = line.substr(0, static_cast<std::size_t>(std::max(colon, 0)));
  }
  return verdict;
}

bool ScanReport::isInfection(std::string_view line) const {
  return rules_.foundAnywhere ? line.find(infectionMark) != std::string_view::npos
                              : line.ends_with(infectionMark);
}

void ScanReport::writeLine(const std::string& timestamp, const std::string& text) {
  if (services_.reportLines) {
    services_.reportLines->reportLine(text);
  } else {
    writeScanLogLine(timestamp, text);
  }
}

void ScanReport::logLine(const std::string& line, const std::string& timestamp) {
  if (line.empty()) {
    return;
  }
  if (rules_.recoversDaemon && line == daemonGone) {
    owner_.recoverFromCrashedClamd();
    writeLine(timestamp, "clamd appears to have died - attempting restart...");
    return;
  }
  if (line.size() >= 6 && isSummary(line)) {
    return;
  }
  writeLine(timestamp, line);
  if (rules_.recoversDaemon && !recovered_ &&
      std::string_view(line).starts_with(daemonUnreachable)) {
    recovered_ = true;
    recoverUnreachableClamd();
  }
}

// A daemon that cannot be launched must not cost the rest of the report.
void ScanReport::recoverUnreachableClamd() {
  try {
    owner_.recoverUnreachableClamd();
  } catch (const PlatformException& failure) {
    services_.systemLog.log("clamd cannot be restarted: " + failure.reason());
  }
}

}  // namespace quillo
