#include "benchmarks/coverage/Trial.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>
#include <stdexcept>

#include "benchmarks/support/Processes.h"

namespace bench {
namespace {

constexpr uid_t otherUser = 12346;
// Each way has the guard's attention for itself, as long as it does not take longer.
constexpr Seconds betweenWays(0.05);
// The helper hears of a new volume at once, and has it watched some milliseconds later.
constexpr Seconds untilVolumeIsUsed(1);

// The last of all, each of which has the guard for itself.
constexpr std::size_t outages = 2;
const Way duringRestart{"saved while the helper is being started anew", nullptr, written.act};
const Way whileAway{"saved while the agent does not run (QuilloCatchUp)", nullptr, written.act};

void makeOpenFolder(const std::string& folder) {
  if (mkdir(folder.c_str(), 0777) != 0) {
    throw std::runtime_error("cannot make a folder to begin with");
  }
}

}  // namespace

Trial::Trial(Ground ground)
    : ground_(std::move(ground)), later_{"a volume mounted later", ground_.laterPoint, "", ""} {
  for (const Way& way : ordinaryWays()) {
    add(way.title, ground_.base, way, ordinaryUser);
  }
  add("written by another user", ground_.base, written, otherUser);
  add("written by another user, for him alone to read", ground_.base, writtenPrivately, otherUser);
  add("written in a folder that is guarded through a link", ground_.link, written, ordinaryUser);
  for (const Place& place : ground_.others) {
    add(place.title + ": written", place, written, ordinaryUser);
    add(place.title + ": renamed in", place, movedIn, ordinaryUser);
  }
  for (const Way* way : {&written, &renamed}) {
    add(later_.title + ": " + way->title, later_, *way, ordinaryUser);
  }
  for (const Way* way : {&duringRestart, &whileAway}) {
    add(way->title, ground_.base, *way, ordinaryUser);
  }
}

void Trial::add(const std::string& title, const Place& place, const Way& way, uid_t user) {
  attempts_.push_back({{title, {}, place.missing}, &place, way, user});
}

std::vector<CoverageRow> Trial::rows() const {
  std::vector<CoverageRow> rows;
  for (const Attempt& attempt : attempts_) {
    rows.push_back(attempt.row);
  }
  return rows;
}

Scene Trial::sceneOf(std::size_t index, std::size_t column, int round) const {
  char name[32];
  std::snprintf(name, sizeof name, "g%zur%dw%02zu", column, round, index);
  const Place& place = *attempts_[index].place;
  if (&place == &later_) {
    return {place.guarded, "", std::string(name) + ".com"};
  }
  return {place.guarded + "/" + name, place.outside + "/" + name, std::string(name) + ".com"};
}

void Trial::prepare(std::size_t index, std::size_t column, int round) {
  Attempt& attempt = attempts_[index];
  if (!attempt.row.unavailable.empty() || attempt.place == &later_) {
    return;
  }
  const Scene scene = sceneOf(index, column, round);
  attempt.row.unavailable = Writer().run(ordinaryUser, [&] {
    makeOpenFolder(scene.inside);
    makeOpenFolder(scene.outside);
    if (attempt.way.prepare != nullptr) {
      attempt.way.prepare(scene);
    }
  });
}

void Trial::act(std::size_t index, std::size_t column, int round, Writer& writer) {
  Attempt& attempt = attempts_[index];
  if (attempt.row.unavailable.empty()) {
    const Scene scene = sceneOf(index, column, round);
    attempt.row.unavailable = writer.run(attempt.user, [&] { attempt.way.act(scene); });
  }
}

// As the user: not even root can look into what a user mounted with FUSE.
void Trial::removeAll(std::size_t column, int round) {
  Writer().run(ordinaryUser, [&] {
    for (std::size_t index = 0; index < attempts_.size(); ++index) {
      const Scene scene = sceneOf(index, column, round);
      if (attempts_[index].row.unavailable.empty() && attempts_[index].place != &later_) {
        std::filesystem::remove_all(scene.inside);
        std::filesystem::remove_all(scene.outside);
      }
    }
  });
}

void Trial::mountVolume() {
  const std::string missing = ground_.later.mount();
  for (Attempt& attempt : attempts_) {
    if (attempt.place == &later_ && attempt.row.unavailable.empty()) {
      attempt.row.unavailable = missing;
    }
  }
}

void Trial::count(std::size_t index, std::size_t column, bool found) {
  std::vector<Tally>& tallies = attempts_[index].row.tallies;
  tallies.resize(std::max(tallies.size(), column + 1));
  ++tallies[column].rounds;
  tallies[column].found += found ? 1 : 0;
}

void Trial::judge(const FolderGuard& guard, std::size_t first, std::size_t last, std::size_t column,
                  int round) {
  std::set<std::string> names;
  for (std::size_t index = first; index < last; ++index) {
    if (attempts_[index].row.unavailable.empty()) {
      names.insert(sceneOf(index, column, round).name);
    }
  }
  std::set<std::string> found;
  guard.log().await(
      [&] {
        found = guard.log().found(names);
        return found.size() == names.size();
      },
      guard.patience());
  for (std::size_t index = first; index < last; ++index) {
    if (attempts_[index].row.unavailable.empty()) {
      count(index, column, found.count(sceneOf(index, column, round).name) != 0);
    }
  }
}

void Trial::tryOutages(FolderGuard& guard, std::size_t column, int round) {
  const std::size_t restart = attempts_.size() - outages;
  const std::size_t away = restart + 1;
  // A guard that ends waits for all that runs: the writer is gone again at once.
  const auto save = [&](std::size_t index) {
    return [this, index, column, round] {
      Writer writer;
      act(index, column, round, writer);
    };
  };
  guard.saveDuringRestart(save(restart));
  judge(guard, restart, restart + 1, column, round);
  guard.saveWhileAway(save(away));
  judge(guard, away, away + 1, column, round);
}

void Trial::run(FolderGuard& guard, std::size_t column, int round) {
  for (std::size_t index = 0; index < attempts_.size(); ++index) {
    prepare(index, column, round);
  }
  guard.start();
  const std::size_t sideBySide = attempts_.size() - outages;
  {
    Writer writer;
    mountVolume();
    guard.log().letPass(untilVolumeIsUsed);
    for (std::size_t index = 0; index < sideBySide; ++index) {
      act(index, column, round, writer);
      guard.log().letPass(betweenWays);
    }
    judge(guard, 0, sideBySide, column, round);
  }
  ground_.later.unmount();
  tryOutages(guard, column, round);
  guard.stop();
  removeAll(column, round);
}

}  // namespace bench
