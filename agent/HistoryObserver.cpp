#include "agent/HistoryObserver.h"

#include "clamav/Verdict.h"
#include "scanning/ScannerOwner.h"
#include "settings/WatchSettings.h"

namespace quillo {

void HistoryObserver::verdictGiven(const Verdict& verdict) {
  // Nothing is done about a clean file, whatever the settings say.
  recorder_.record(verdict, verdict.kind == Verdict::Kind::clean
                                ? InfectedFileAction::leaveInPlace
                                : owner_.settings()->quarantineOrTrash);
}

void ScanObservers::runBegan(std::size_t files) {
  for (ScanObserver* const observer : observers_) {
    observer->runBegan(files);
  }
}

void ScanObservers::runEnded(std::size_t files) {
  for (ScanObserver* const observer : observers_) {
    observer->runEnded(files);
  }
}

void ScanObservers::verdictGiven(const Verdict& verdict) {
  for (ScanObserver* const observer : observers_) {
    observer->verdictGiven(verdict);
  }
}

}  // namespace quillo
