#pragma once

#include <string>

#include "scanning/ScannerOwner.h"

namespace quillo {

class Folders;
struct WatchSettings;

// The one argument list that every scanner works with. Main thread.
class ScanParameters {
 public:
  ScanParameters(Folders& folders, ScannerMenu& menu) : folders_(folders), mainMenu(menu) {}

  // Builds a new list. Returns false when the scanner program cannot be read; the list is complete
  // all the same.
  bool setScanParameters(const WatchSettings& settings);
  const ScanArgumentList& scanAndUpdateParametersWithThrobber() const { return list_; }
  void empty() { list_.clear(); }

  // Returns the argument that moves to the quarantine folder, or "" where there is no quarantine.
  static std::string quarantineLocation(const WatchSettings& settings);

 private:
  void addSettingsWithoutDaemon(const WatchSettings& settings);

  Folders& folders_;
  ScannerMenu& mainMenu;
  ScanArgumentList list_;
};

}  // namespace quillo
