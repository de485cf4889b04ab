#include "companion/scan/ScanCommand.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>

#include "companion/CommandWords.h"
#include "companion/scan/InterruptWatch.h"
#include "companion/scan/ScanFindings.h"
#include "companion/scan/ScanWords.h"
#include "platform/LocalizedStrings.h"

namespace quillo {
namespace {

using Json = nlohmann::ordered_json;
using Problem = ManualScanResult::Problem;

constexpr int jsonVersion = 1;
constexpr int statusFound = 1;
constexpr int statusIncomplete = 2;
const char* nameOf(ScanFinding::Done done) {
  switch (done) {
    case ScanFinding::Done::moved:
      return "moved";
    case ScanFinding::Done::notMoved:
      return "notMoved";
    case ScanFinding::Done::allowed:
      return "allowed";
    case ScanFinding::Done::unknown:
      return "unknown";
    default:
      return "leftInPlace";
  }
}

Json nameOf(Problem problem) {
  switch (problem) {
    case Problem::noEngine:
      return "noEngine";
    case Problem::noDaemon:
      return "noDaemon";
    case Problem::noQuarantine:
      return "noQuarantine";
    case Problem::tooMany:
      return "tooMany";
    case Problem::failed:
      return "failed";
    default:
      return nullptr;
  }
}

Json numberOrNull(const std::optional<std::uint64_t>& number) {
  return number ? Json(*number) : Json(nullptr);
}

void addPlace(Json& entry, const ScanFinding& finding) {
  entry["path"] = reportedText(finding.verdict.path);
  if (!finding.verdict.target.empty()) {
    entry["target"] = reportedText(finding.verdict.target);
  }
}

// Writes what is said as it comes, and keeps it for the document.
class Writer final : public ManualScanObserver {
 public:
  Writer(const CommandWords& asked, std::ostream& out, const ScanCommandServices& services)
      : asked_(asked),
        out_(out),
        strings_(services.scan.localizedStrings),
        words_(strings_),
        findings_(words_, [&services](const Verdict& infection) {
          return services.allowed && services.allowed->isAllowed(infection);
        }) {}

  void verdict(const Verdict& verdict) override {
    findings_.add(verdict);
    const bool isFind = verdict.kind == Verdict::Kind::infected;
    if (asked_.asJson || (!isFind && verdict.kind != Verdict::Kind::notScanned)) {
      return;
    }
    const std::string path = reportedText(verdict.path);
    if (isFind) {
      const std::string done = reportedText(words_.done(*findings_.findAt(verdict.file())));
      out_ << Wording{"SCAN_LINE_FOUND", {path, reportedText(verdict.threat), done}}.in(strings_);
    } else {
      out_ << Wording{"SCAN_LINE_NOT_SCANNED", {path, reportedText(verdict.reason)}}.in(strings_);
    }
    out_ << std::endl;  // somebody waits for it
  }
  void advanced() override {}
  void ended(const ManualScanResult& result) override {
    result_ = result;
    if (asked_.asJson) {
      out_ << document().dump(2) << std::endl;
      return;
    }
    for (const std::string& sentence : words_.report(result)) {
      out_ << sentence << '\n';
    }
    out_.flush();
  }
  const ManualScanResult& result() const { return result_; }

 private:
  Json document() {
    Json whole;
    whole["version"] = jsonVersion;
    whole["command"] = "scan";
    for (const std::string& path : asked_.operands) {
      whole["paths"].push_back(reportedText(path));
    }
    whole["result"] = result_.found > 0 ? "found" : result_.isComplete() ? "clean" : "incomplete";
    whole["stopped"] = result_.isStopped;
    whole["problem"] = nameOf(result_.problem);
    whole["lacksDefinitions"] = result_.lacksDefinitions;
    whole["counts"] = {{"clean", numberOrNull(result_.clean)},
                       {"found", result_.found},
                       {"allowed", result_.allowed},
                       {"inQuarantine", result_.inQuarantine},
                       {"notScanned", result_.notScanned},
                       {"notListed", findings_.notListed()},
                       {"notReached", numberOrNull(result_.notReached)}};
    whole["found"] = Json::array();
    for (const ScanFinding& finding : findings_.finds()->findings()) {
      whole["found"].push_back(entryOf(finding));
    }
    whole["notScanned"] = Json::array();
    for (const ScanFinding& finding : findings_.leftOut()->findings()) {
      Json entry;
      addPlace(entry, finding);
      entry["reason"] = reportedText(finding.reason);
      whole["notScanned"].push_back(entry);
    }
    return whole;
  }
  static Json entryOf(const ScanFinding& finding) {
    Json entry;
    addPlace(entry, finding);
    entry["threat"] = reportedText(finding.threat);
    entry["done"] = nameOf(finding.done);
    if (!finding.destination.empty()) {
      entry["destination"] = reportedText(finding.destination);
    }
    if (!finding.reason.empty()) {
      entry["reason"] = reportedText(finding.reason);
    }
    return entry;
  }

  const CommandWords& asked_;
  std::ostream& out_;
  LocalizedStrings& strings_;
  const ScanWords words_;
  ScanFindings findings_;
  ManualScanResult result_;
};

}  // namespace

int runScanCommand(const std::vector<std::string>& words, std::ostream& out, std::ostream& errors,
                   const ScanCommandServices& services) {
  std::optional<CommandWords> asked = commandWordsOf(words);
  if (!asked || asked->operands.empty()) {
    return showUsage(errors, "scan PATH... [--json]");
  }
  for (std::string& path : asked->operands) {
    path = absolutePath(path);
  }
  Writer writer(*asked, out, services);
  const auto scan = std::make_shared<ManualScan>(services.scan, writer, services.history);
  {
    const InterruptWatch interrupts(services.scan.threads, [scan] { scan->stop(); });
    scan->run(asked->operands);
  }
  if (writer.result().found > 0) {
    return statusFound;
  }
  return writer.result().isComplete() ? 0 : statusIncomplete;
}

}  // namespace quillo
