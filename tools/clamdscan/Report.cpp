#include "tools/clamdscan/Report.h"

#include <algorithm>
#include <utility>

#include "clamav/Verdict.h"
#include "clamav/VerdictChannel.h"
#include "posix/UniqueFd.h"

namespace quillo::wrapper {
namespace {

constexpr std::size_t atomicWrite = 4096;
constexpr std::string_view verdictEnd = " FOUND";

std::string harmless(std::string_view line) {
  std::string text = reportedText(line);
  if (text.ends_with(verdictEnd)) {
    text += " (this is no verdict)";
  }
  return text;
}

std::string infectionLine(const Verdict& verdict) {
  // Readers take what stands before the last colon for the path.
  std::string name = reportedText(verdict.threat);
  std::replace(name.begin(), name.end(), ':', '_');
  return reportedText(verdict.path) + ": " + name + std::string(verdictEnd);
}

std::string whereaboutsLine(const Verdict& verdict) {
  const bool moved = verdict.whereabouts == Verdict::Whereabouts::moved;
  return verdict.path + ": " + (verdict.target.empty() ? "" : "'" + verdict.target + "' ") +
         (moved ? "moved to '" + verdict.destination + "'" : "not moved: " + verdict.reason);
}

Verdict message() { return Verdict(); }

}  // namespace

void Report::passOn(Verdict verdict, const std::string& line) {
  if (style_.channel != nullptr) {
    verdict.line = line;
    style_.channel->report(verdict);
  }
}

void Report::clean(std::string_view path, std::string_view target) {
  if (style_.infectedOnly || style_.quiet) {
    return;
  }
  const std::string shown = reportedText(path);
  std::string line = shown + ": OK";
  if (shown != path || !target.empty()) {
    Verdict verdict;
    verdict.kind = Verdict::Kind::clean;
    verdict.path = path;
    verdict.target = target;
    passOn(std::move(verdict), line);
  }
  add(style_.output, std::move(line));
}

void Report::infected(const Verdict& verdict) {
  ++infections_;
  if (!style_.quiet) {
    std::string line = infectionLine(verdict);
    passOn(verdict, line);
    add(style_.output, std::move(line));
  }
}

bool Report::announce(const Verdict& verdict) {
  ++infections_;
  if (style_.quiet) {
    return true;
  }
  Verdict announced = verdict;
  announced.line = infectionLine(verdict);
  if (style_.channel != nullptr) {
    style_.channel->announceMove(announced);
  }
  add(style_.output, announced.line);
  flush();
  return style_.channel == nullptr || style_.channel->mayMove();
}

bool Report::moveWasRefused() const {
  return style_.channel != nullptr && style_.channel->wasRefused();
}

void Report::outcome(const Verdict& verdict) {
  if (style_.channel != nullptr && !style_.quiet) {
    style_.channel->reportOutcome(verdict);
  }
  whereabouts(verdict);
}

void Report::whereabouts(const Verdict& verdict) {
  const bool moved = verdict.whereabouts == Verdict::Whereabouts::moved;
  failures_ += verdict.whereabouts == Verdict::Whereabouts::notMoved ? 1 : 0;
  if (moved && style_.quiet) {
    return;
  }
  Verdict said = verdict;
  said.kind = moved ? Verdict::Kind::moved : Verdict::Kind::notMoved;
  std::string line = harmless(whereaboutsLine(verdict));
  passOn(std::move(said), line);
  add(style_.errors, std::move(line));
}

void Report::notScanned(std::string_view path, std::string_view reason, std::string_view target) {
  Verdict verdict;
  verdict.path = path;
  verdict.reason = reason;
  verdict.target = target;
  notScanned(std::move(verdict));
}

void Report::notScanned(Verdict verdict) {
  ++failures_;
  ++leftOut_;
  std::string line = harmless(verdict.path + ": Not scanned: " + verdict.reason);
  verdict.kind = Verdict::Kind::notScanned;
  passOn(std::move(verdict), line);
  add(style_.errors, std::move(line));
}

void Report::error(std::string_view line) {
  ++failures_;
  std::string text = harmless(line);
  passOn(message(), text);
  add(style_.errors, std::move(text));
}

void Report::remark(std::string_view line) {
  if (!style_.quiet) {
    std::string text = harmless(line);
    passOn(message(), text);
    add(style_.errors, std::move(text));
  }
}

void Report::summary(std::string_view line) {
  if (!style_.quiet) {
    add(style_.output, harmless(line));
  }
}

void Report::add(int descriptor, std::string line) {
  line += '\n';
  if (descriptor != target_ || gathered_.size() + line.size() > atomicWrite) {
    flush();
  }
  target_ = descriptor;
  gathered_ += line;
}

void Report::flush() {
  failures_ += writeAll(target_, gathered_) ? 0 : 1;
  gathered_.clear();
}

int Report::exitStatus() const { return infections_ > 0 ? 1 : failures_ > 0 ? 2 : 0; }

}  // namespace quillo::wrapper
