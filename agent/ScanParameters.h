#pragma once

#include <string>

#include "scanning/ScanArguments.h"

namespace quillo {

class Folders;
class Preferences;

// The one argument list that every scanner works with. Main thread.
class ScanParameters {
 public:
  ScanParameters(Preferences& preferences, Folders& folders, ScannerMenu& mainMenu);

  // Builds a new list from the preferences. False when the scanner program cannot be read; the list
  // is complete all the same.
  bool setScanParameters();
  const ScanArgumentList& scanAndUpdateParametersWithThrobber() const { return list; }
  void empty() { list.clear(); }

 private:
  void insert(const std::string& argument) { list.insert(list.begin(), argument); }
  void insertSettingsWithoutDaemon();

  Preferences& preferences_;
  Folders& folders_;
  ScannerMenu& mainMenu;
  std::string trashLocation;
  ScanArgumentList list;
};

}  // namespace quillo
