#include "tests/soak/Ledger.h"

#include "clamav/Verdict.h"

namespace quillo::tests {

using std::chrono::steady_clock;

void Ledger::saved(const std::string& path, bool isInfected) {
  files_[path] = {isInfected, false, steady_clock::now()};
  ++everSaved_;
}

std::vector<std::string> Ledger::within(const std::string& folder) const {
  std::vector<std::string> paths;
  for (auto file = files_.lower_bound(folder + "/");
       file != files_.end() && file->first.starts_with(folder + "/"); ++file) {
    paths.push_back(file->first);
  }
  return paths;
}

void Ledger::moved(const std::string& from, const std::string& to) {
  for (const std::string& path : within(from)) {
    const bool isInfected = files_.at(path).isInfected;
    gone(path);
    saved(to + path.substr(from.size()), isInfected);
  }
}

void Ledger::folderGone(const std::string& folder) {
  for (const std::string& path : within(folder)) {
    gone(path);
  }
}

void Ledger::hear(const std::string& line) {
  const Verdict verdict = Verdict::parse(line);
  if (!verdict.path.starts_with('/')) {
    return;
  }
  using Kind = Verdict::Kind;
  notScanned_ += verdict.kind == Kind::notScanned ? 1 : 0;
  if (verdict.kind != Kind::clean && verdict.kind != Kind::infected) {
    return;
  }
  ++verdicts_;
  const bool isFind = verdict.kind == Kind::infected;
  finds_ += isFind ? 1 : 0;
  const auto file = files_.find(verdict.path);
  // What was said of contents that have changed since says nothing.
  if (file == files_.end() || file->second.isJudged || file->second.isInfected != isFind) {
    return;
  }
  file->second.isJudged = true;
  const std::chrono::duration<double> waited = steady_clock::now() - file->second.saved;
  if (waited > longestWait_) {
    longestWait_ = waited;
    waitedLongest_ = verdict.path;
  }
}

bool Ledger::isInfected(const std::string& path) const {
  const auto file = files_.find(path);
  return file != files_.end() && file->second.isInfected;
}

std::vector<std::string> Ledger::unjudged() const {
  std::vector<std::string> paths;
  for (const auto& [path, file] : files_) {
    if (!file.isJudged) {
      paths.push_back(path);
    }
  }
  return paths;
}

}  // namespace quillo::tests
