#pragma once

#include <string>
#include <vector>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/soak/Dice.h"
#include "tests/soak/Ledger.h"

namespace quillo::tests {

// What a busy user does in a guarded folder, by chance, and enters in the ledger. One thread.
class Traffic {
 public:
  Traffic(GuardedHome& home, Ledger& ledger, Dice& dice);

  // Does one thing: saves, changes, renames, links, moves or deletes.
  void act();
  // Saves so many files at once, a hundredth of them infected.
  void storm(std::size_t files);
  // Saves these anew as they are.
  void saveAgain(const std::vector<std::string>& paths);

 private:
  void saveNew();
  void change();
  void renameFile();
  void linkFile();
  void moveFolder();
  void moveFolderIn();
  void deleteFile();
  void deleteFolder();
  void save(const std::string& path, bool isInfected);
  std::string newName();
  std::string newFolder();
  // "" while there is none.
  std::string someFile();
  bool isThere(const std::string& path);

  GuardedHome& home_;
  Ledger& ledger_;
  Dice& dice_;
  std::vector<std::string> folders_;
  std::size_t number_ = 0;
};

}  // namespace quillo::tests
