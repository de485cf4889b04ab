#include "tests/soak/Traffic.h"

#include <unistd.h>

#include <filesystem>

namespace quillo::tests {
namespace fs = std::filesystem;
namespace {

constexpr std::size_t mostFolders = 40;
constexpr std::size_t mostFiles = 4000;

}  // namespace

Traffic::Traffic(GuardedHome& home, Ledger& ledger, Dice& dice)
    : home_(home), ledger_(ledger), dice_(dice) {
  folders_.push_back(newFolder());
}

void Traffic::act() {
  if (folders_.size() > mostFolders || ledger_.files().size() > mostFiles) {
    return deleteFolder();
  }
  const std::size_t what = dice_.below(20);
  if (what < 9) {
    saveNew();
  } else if (what < 12) {
    change();
  } else if (what < 14) {
    renameFile();
  } else if (what < 15) {
    linkFile();
  } else if (what < 16) {
    moveFolder();
  } else if (what < 17) {
    moveFolderIn();
  } else if (what < 19) {
    deleteFile();
  } else {
    folders_.push_back(newFolder());
  }
}

void Traffic::storm(std::size_t files) {
  const std::string folder = newFolder();
  folders_.push_back(folder);
  for (std::size_t at = 0; at < files; ++at) {
    save(folder + "/storm " + std::to_string(at), at % 100 == 50);
  }
}

void Traffic::saveAgain(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    if (isThere(path)) {
      save(path, ledger_.isInfected(path));
    }
  }
}

// The agent moves what it finds, at any moment.
bool Traffic::isThere(const std::string& path) {
  if (fs::exists(path)) {
    return true;
  }
  if (ledger_.isInfected(path)) {
    ledger_.gone(path);
  }
  return false;
}

void Traffic::save(const std::string& path, bool isInfected) {
  home_.save(path, isInfected ? GuardedHome::testFile()
                              : "contents of " + std::to_string(++number_) + "\n");
  ledger_.saved(path, isInfected);
}

std::string Traffic::newName() {
  static const std::vector<std::string> kinds = {".txt", ".odt", " (copy).png", "-größer.mp3", ""};
  return "file " + std::to_string(++number_) + dice_.oneOf(kinds);
}

std::string Traffic::newFolder() {
  std::string folder = home_.guarded("folder " + std::to_string(++number_));
  if (dice_.once(2)) {
    folder += "/deeper/" + std::to_string(number_);
  }
  return folder;
}

std::string Traffic::someFile() {
  const auto& files = ledger_.files();
  if (files.empty()) {
    return "";
  }
  const std::string path =
      std::next(files.begin(), static_cast<std::ptrdiff_t>(dice_.below(files.size())))->first;
  return isThere(path) ? path : "";
}

void Traffic::saveNew() {
  const bool isInfected = dice_.once(20);
  save(dice_.oneOf(folders_) + "/" + newName(), isInfected);
}

void Traffic::change() {
  // Of what has several names, only one would be reported.
  if (const std::string path = someFile(); !path.empty() && fs::hard_link_count(path) == 1) {
    save(path, dice_.once(20));
  }
}

void Traffic::renameFile() {
  const std::string path = someFile();
  const std::string target = dice_.oneOf(folders_) + "/" + newName();
  if (path.empty() || !fs::exists(fs::path(target).parent_path())) {
    return;
  }
  const bool isInfected = ledger_.isInfected(path);
  // It may be moved out of the way just then.
  if (rename(path.c_str(), target.c_str()) == 0) {
    ledger_.gone(path);
    ledger_.saved(target, isInfected);
  }
}

void Traffic::linkFile() {
  const std::string path = someFile();
  const std::string target = dice_.oneOf(folders_) + "/" + newName();
  if (path.empty() || !fs::exists(fs::path(target).parent_path())) {
    return;
  }
  if (dice_.once(2)) {
    [[maybe_unused]] const int ignored = symlink(path.c_str(), (target + " link").c_str());
  } else if (link(path.c_str(), target.c_str()) == 0) {
    ledger_.saved(target, ledger_.isInfected(path));
  }
}

void Traffic::moveFolder() {
  std::string& folder = dice_.oneOf(folders_);
  const std::string target = home_.guarded("moved " + std::to_string(++number_));
  if (rename(folder.c_str(), target.c_str()) == 0) {
    ledger_.moved(folder, target);
    folder = target;
  }
}

void Traffic::moveFolderIn() {
  const std::string outside = home_.home() + "/outside " + std::to_string(++number_);
  const std::string target = home_.guarded("from outside " + std::to_string(number_));
  const std::size_t files = 1 + dice_.below(20);
  for (std::size_t at = 0; at < files; ++at) {
    home_.save(outside + "/" + std::to_string(at), at == 3 ? GuardedHome::testFile() : "contents");
  }
  if (rename(outside.c_str(), target.c_str()) != 0) {
    return;
  }
  folders_.push_back(target);
  for (std::size_t at = 0; at < files; ++at) {
    ledger_.saved(target + "/" + std::to_string(at), at == 3);
  }
}

void Traffic::deleteFile() {
  if (const std::string path = someFile(); !path.empty()) {
    ledger_.gone(path);
    unlink(path.c_str());
  }
}

void Traffic::deleteFolder() {
  if (folders_.size() < 2) {
    return;
  }
  const std::size_t index = dice_.below(folders_.size());
  const std::string folder = folders_[index];
  folders_.erase(folders_.begin() + static_cast<std::ptrdiff_t>(index));
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  ledger_.folderGone(folder);
}

}  // namespace quillo::tests
