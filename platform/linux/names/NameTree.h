#pragma once

#include <ctime>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "posix/Clock.h"
#include "posix/UniqueFd.h"

namespace quillo {

// The names that appear in folders and, if wanted, in everything below them on the same file
// system, reported by inotify(7): a watch a folder. A folder that appears is watched first and then
// looked through, so that no file in it is missed, whatever the order of things. Every call does a
// little work. One thread.
class NameTree {
 public:
  // Throws PlatformException when the system has no queue of events to give.
  explicit NameTree(Clock& clock);

  // Returns what is to be polled for reading.
  int descriptor() const { return queue_.get(); }
  // Watches the folder, a real path, from now on. Of what is in it already all is reported, or else
  // what lies where something came within the last few seconds.
  void add(const std::string& folder, bool withSubfolders, bool reportAll);
  void remove(const std::string& folder);
  // Returns true when the folder that bears that name now is the one that was added.
  bool isStillThere(const std::string& folder) const;
  // Appends the paths of files and links that were given a name, or were written, since the last
  // call, and looks through some of the folders that wait for it. Returns true when more wait.
  bool step(std::vector<std::string>& paths);
  // Returns true when the system refused a watch since the last call.
  bool takeRefusal();
  // Returns the number of folders that are watched.
  std::size_t size() const { return byPath_.size(); }

 private:
  struct Root {
    bool withSubfolders = false;
    dev_t device = 0;
    ino_t number = 0;
  };
  // A folder to watch and look through.
  struct Visit {
    std::string folder;
    std::string root;
    bool reportAll = false;
    // Else the files are reported if something came into the folder since then.
    std::time_t since = 0;
  };

  void readEvents(std::vector<std::string>& paths);
  void handle(int watch, unsigned int mask, std::string_view name, std::vector<std::string>& paths);
  void folderAppeared(const std::string& folder);
  void startOver();
  void visit(const Visit& what, std::vector<std::string>& paths);
  void watch(int folder, const std::string& path);
  void forget(int watch);
  void dropBelow(const std::string& folder);
  const std::string* rootOf(const std::string& folder) const;

  std::time_t now() const;

  Clock& clock_;
  UniqueFd queue_;
  std::map<std::string, Root> roots_;
  std::map<std::string, int> byPath_;
  std::unordered_map<int, const std::string*> byWatch_;
  std::deque<Visit> visits_;
  std::unordered_set<std::string> reported_;
  std::time_t allReadAt_ = 0;
  bool refused_ = false;
};

}  // namespace quillo
