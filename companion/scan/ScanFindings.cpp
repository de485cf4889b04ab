#include "companion/scan/ScanFindings.h"

#include <numeric>
#include <utility>

namespace quillo {
namespace {

using Done = ScanFinding::Done;

bool liesInPlace(const ScanFinding& finding) {
  return finding.done == Done::leftInPlace || finding.done == Done::notMoved ||
         finding.done == Done::unknown;
}

TableRows::Sign signOf(const ScanFinding& finding) {
  if (finding.threat.empty()) {
    return TableRows::Sign::warning;
  }
  return liesInPlace(finding) ? TableRows::Sign::threat : TableRows::Sign::good;
}

// A link is shown with the file that it leads to, which is the one that was found.
std::string shownPath(const ScanFinding& finding) {
  const Verdict& verdict = finding.verdict;
  return verdict.target.empty() ? verdict.path : verdict.path + " → " + verdict.target;
}

}  // namespace

ScanFindings::ScanFindings(const ScanWords& words,
                           std::function<bool(const Verdict& infection)> isAllowed)
    : isAllowed_(std::move(isAllowed)),
      finds_(std::make_shared<ScanRows>([&words](const ScanFinding& finding) {
        return TableRows::Row{{shownPath(finding), finding.threat, words.done(finding)},
                              signOf(finding)};
      })),
      leftOut_(std::make_shared<ScanRows>([](const ScanFinding& finding) {
        return TableRows::Row{{shownPath(finding), finding.reason}, signOf(finding)};
      })) {}

void ScanFindings::clear() {
  finds_->findings().clear();
  leftOut_->findings().clear();
  notListed_ = 0;
  places_.clear();
}

ScanFinding* ScanFindings::known(const std::string& path) {
  const auto place = places_.find(path);
  return place == places_.end() ? nullptr : &finds_->findings()[place->second];
}

void ScanFindings::add(const Verdict& verdict) {
  ScanFinding* const before = known(verdict.file());
  switch (verdict.kind) {
    case Verdict::Kind::infected:
      addFind(verdict);
      break;
    case Verdict::Kind::notScanned:
      if (before != nullptr) {
        before->done = Done::notMoved;
        before->reason = verdict.reason;
      } else if (leftOut_->count() < mostLeftOut) {
        leftOut_->findings().push_back(
            {verdict.file(), "", verdict.reason, "", Done::leftInPlace, verdict});
      } else {
        ++notListed_;
      }
      break;
    case Verdict::Kind::clean:
      if (before != nullptr && liesInPlace(*before)) {
        before->done = Done::clean;
      }
      break;
    case Verdict::Kind::moved:
    case Verdict::Kind::notMoved:
      // The line behind that of the find says it too, of a scanner that says no more.
      if (before != nullptr && liesInPlace(*before)) {
        const bool moved = verdict.kind == Verdict::Kind::moved;
        before->done = moved ? Done::moved : Done::notMoved;
        (moved ? before->destination : before->reason) =
            moved ? verdict.destination : verdict.reason;
      }
      break;
    default:
      break;
  }
}

void ScanFindings::addFind(const Verdict& verdict) {
  ScanFinding finding{verdict.file(),
                      verdict.threat,
                      verdict.reason,
                      verdict.destination,
                      Done::leftInPlace,
                      verdict,
                      FileIdentity::at(verdict.file())};
  if (verdict.whereabouts == Verdict::Whereabouts::moved) {
    finding.done = Done::moved;
  } else if (verdict.whereabouts == Verdict::Whereabouts::notMoved) {
    finding.done = Done::notMoved;
  } else if (verdict.isSpared || isAllowed_(verdict)) {
    finding.done = Done::allowed;
  } else if (verdict.whereabouts == Verdict::Whereabouts::unsaid) {
    finding.done = Done::unknown;
  }
  if (ScanFinding* const before = known(finding.path)) {
    *before = std::move(finding);
    return;
  }
  places_.emplace(finding.path, finds_->count());
  finds_->findings().push_back(std::move(finding));
}

std::vector<ScanFinding*> ScanFindings::inPlace(const std::vector<std::size_t>& rows) {
  std::vector<ScanFinding*> chosen;
  for (const std::size_t row : rows) {
    if (row < finds_->count() && liesInPlace(finds_->findings()[row])) {
      chosen.push_back(&finds_->findings()[row]);
    }
  }
  return chosen;
}

std::vector<ScanFinding*> ScanFindings::allInPlace() {
  std::vector<std::size_t> rows(finds_->count());
  std::iota(rows.begin(), rows.end(), 0);
  return inPlace(rows);
}

}  // namespace quillo
