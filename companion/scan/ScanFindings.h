#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "companion/scan/ScanWords.h"
#include "platform/Page.h"

namespace quillo {

// Findings as a table of the page.
class ScanRows final : public TableRows {
 public:
  using Show = std::function<Row(const ScanFinding& finding)>;

  explicit ScanRows(Show show) : show_(std::move(show)) {}

  std::size_t count() override { return findings_.size(); }
  Row row(std::size_t row) override { return show_(findings_[row]); }
  std::vector<ScanFinding>& findings() { return findings_; }

 private:
  const Show show_;
  std::vector<ScanFinding> findings_;
};

// What scans said of files: the finds, each once and with what has become of it since, and what was
// not scanned. Main thread.
class ScanFindings {
 public:
  // More files that were not scanned are counted and not listed.
  static constexpr std::size_t mostLeftOut = 100'000;

  // `isAllowed` says whether its user allowed such a find before.
  ScanFindings(const ScanWords& words, std::function<bool(const Verdict& infection)> isAllowed);

  // Takes in what is said of a file. What a scan for moving calls clean was a find before.
  void add(const Verdict& verdict);
  void clear();
  // Returns the find that lies there; null when there is none.
  const ScanFinding* findAt(const std::string& path) { return known(path); }

  const std::shared_ptr<ScanRows>& finds() const { return finds_; }
  const std::shared_ptr<ScanRows>& leftOut() const { return leftOut_; }
  // Returns how many more were not scanned than leftOut() lists.
  std::uint64_t notListed() const { return notListed_; }
  // Returns the files among these finds, or all, that lie in their places and are not allowed.
  std::vector<ScanFinding*> inPlace(const std::vector<std::size_t>& rows);
  std::vector<ScanFinding*> allInPlace();

 private:
  void addFind(const Verdict& verdict);
  ScanFinding* known(const std::string& path);

  const std::function<bool(const Verdict&)> isAllowed_;
  const std::shared_ptr<ScanRows> finds_;
  const std::shared_ptr<ScanRows> leftOut_;
  std::uint64_t notListed_ = 0;
  std::unordered_map<std::string, std::size_t> places_;  // among the finds, by path
};

}  // namespace quillo
