#include "tools/clamdscan/Front.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <unordered_map>
#include <unordered_set>

#include "posix/Text.h"
#include "tools/clamdscan/FolderWalk.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::front {
namespace {

constexpr std::size_t filesInOneRun = 1000;
constexpr char unanswered[] = "the scanner did not report on it";

// All of the file at `path`; errno on failure.
std::optional<std::string> contentsOf(const std::string& path) {
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (!file) {
    return std::nullopt;
  }
  std::string text;
  std::array<char, 65536> bytes;
  for (;;) {
    const ssize_t count = read(file.get(), bytes.data(), bytes.size());
    if (count == 0) {
      return text;
    }
    if (count > 0) {
      text.append(bytes.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
}

// A file list that nobody else can see or change; errno on failure.
UniqueFd privateList(const std::vector<Entry>& entries) {
  std::string text;
  std::unordered_set<std::string_view> seen;
  for (const Entry& entry : entries) {
    if (seen.insert(entry.path).second) {
      text += entry.path;
      text += '\n';
    }
  }
  UniqueFd list(memfd_create("file list", MFD_CLOEXEC));
  std::string_view rest = text;
  while (list && !rest.empty()) {
    const ssize_t count = write(list.get(), rest.data(), rest.size());
    if (count < 0 && errno != EINTR) {
      return UniqueFd();
    }
    rest.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  return list;
}

// Several entries may stand for one file.
class Pending {
 public:
  explicit Pending(const std::vector<Entry>& entries) {
    for (const Entry& entry : entries) {
      places_[entry.path].entries.push_back(&entry);
    }
  }

  bool knows(std::string_view path) const { return places_.count(path) > 0; }

  template <typename Action>
  void answer(std::string_view path, const Action& action) {
    Place& place = places_.at(path);
    place.answered = true;
    for (const Entry* entry : place.entries) {
      action(*entry);
    }
  }

  bool isAnswered(const Entry& entry) const { return places_.at(entry.path).answered; }

 private:
  struct Place {
    std::vector<const Entry*> entries;
    bool answered = false;
  };
  std::unordered_map<std::string_view, Place> places_;
};

bool liesIn(std::string_view path, std::string_view folder) {
  return path == folder || folder == "/" ||
         (path.size() > folder.size() && path[folder.size()] == '/' &&
          path.substr(0, folder.size()) == folder);
}

std::string below(const std::string& shownFolder, const std::string& folder,
                  std::string_view path) {
  const std::string_view rest = path.substr(folder.size());
  const bool twoSlashes = shownFolder.back() == '/' && rest.substr(0, 1) == "/";
  return shownFolder + std::string(rest.substr(twoSlashes ? 1 : 0));
}

std::string dateText(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm parts = {};
  localtime_r(&seconds, &parts);
  std::array<char, 32> text;
  return std::string(text.data(),
                     std::strftime(text.data(), text.size(), "%Y:%m:%d %H:%M:%S", &parts));
}

}  // namespace

Front::Front(const EngineTree& tree, const CommandLine& asked, Report& report, Clock& clock,
             Clock::Duration patience)
    : tree_(tree),
      asked_(asked),
      report_(report),
      clock_(clock),
      moveFolder_(clock),
      judge_(report, moveFolder_, tree.limits),
      client_(tree, asked, report, clock, patience) {}

int Front::run() {
  const auto start = clock_.wallTime();
  const Clock::Duration begin = clock_.now();
  openMoveFolder();
  const auto paths = givenPaths();
  if (paths) {
    Work work;
    PathResolver resolver;
    for (const std::string& path : *paths) {
      sort(resolver.resolve(path), work);
    }
    scanFiles(work);
    for (const Entry& folder : work.folders) {
      scanFolder(folder);
    }
  }
  writeSummary(start, clock_.now() - begin);
  report_.flush();
  return report_.exitStatus();
}

void Front::openMoveFolder() {
  if (!asked_.moveFolder) {
    return;
  }
  const std::string problem = moveFolder_.open(*asked_.moveFolder);
  if (!problem.empty()) {
    report_.error("ERROR: --move=" + *asked_.moveFolder + ": " + problem +
                  "; infected files stay where they are");
  }
}

std::optional<std::vector<std::string>> Front::givenPaths() {
  if (!asked_.fileList) {
    return asked_.paths.empty() ? std::vector<std::string>{"."} : asked_.paths;
  }
  if (!asked_.paths.empty()) {
    report_.remark(
        "WARNING: Only scanning files from --file-list (files passed at cmdline are ignored)");
  }
  const auto text = contentsOf(*asked_.fileList);
  if (!text) {
    report_.error("ERROR: --file-list: Can't open file " + *asked_.fileList + ": " +
                  reasonText(errno));
    return std::nullopt;
  }
  std::vector<std::string> paths;
  for (const std::string_view line : split(*text, '\n')) {
    if (!line.empty()) {
      paths.emplace_back(line);
    }
  }
  return paths;
}

void Front::sort(Entry entry, Work& work) {
  switch (entry.kind) {
    case Entry::Kind::unscannable:
      report_.notScanned(entry.shown, entry.reason);
      break;
    case Entry::Kind::folder:
      work.folders.push_back(std::move(entry));
      break;
    case Entry::Kind::file:
      (entry.awkward() ? work.awkward : work.plain).push_back(std::move(entry));
      break;
  }
}

void Front::scanFiles(Work& work) {
  if (!work.plain.empty()) {
    scanList(work.plain);
  }
  for (Entry& entry : work.awkward) {
    scanByDescriptor(std::move(entry));
  }
  work.plain.clear();
  work.awkward.clear();
}

void Front::scanList(const std::vector<Entry>& entries) {
  const UniqueFd list = privateList(entries);
  Pending pending(entries);
  std::string problem = unanswered;
  if (!list) {
    report_.error("ERROR: cannot make a file list: " + reasonText(errno));
  } else {
    Task task;
    task.words = asked_.actions;
    task.words.emplace_back("--file-list=/proc/self/fd/3");
    task.descriptorThree = list.get();
    task.isKnown = [&](std::string_view path) { return pending.knows(path); };
    task.verdict = [&](const ClientLine& line) {
      pending.answer(line.path, [&](const Entry& entry) { judge_.pass(entry, line); });
    };
    const std::string incident = client_.run(task);
    problem = incident.empty() ? problem : incident;
  }
  for (const Entry& entry : entries) {
    if (!pending.isAnswered(entry)) {
      report_.notScanned(entry.shown, problem);
    }
  }
}

// The client takes any opened file as its standard input, whatever its path is like.
void Front::scanByDescriptor(Entry entry) {
  const UniqueFd file = openWithoutLinks(entry.path, O_RDONLY | O_NOFOLLOW);
  if (!file || fstat(file.get(), &entry.status) != 0) {
    report_.notScanned(entry.shown, reasonText(errno));
    return;
  }
  if (!S_ISREG(entry.status.st_mode)) {
    report_.notScanned(entry.shown, typeText(entry.status.st_mode));
    return;
  }
  bool answered = false;
  Task task;
  task.words = {"-"};
  task.standardInput = file.get();
  task.isKnown = [](std::string_view path) {
    return path == "stream" || path.substr(0, 3) == "fd[";
  };
  task.verdict = [&](const ClientLine& line) {
    answered = true;
    judge_.pass(entry, line);
  };
  const std::string incident = client_.run(task);
  if (!answered) {
    report_.notScanned(entry.shown, incident.empty() ? unanswered : incident);
  } else if (!asked_.actions.empty()) {
    report_.remark(entry.shown + ": neither removed nor copied, because of its name");
  }
}

void Front::scanFolder(const Entry& folder) {
  const std::uint64_t leftOutBefore = report_.leftOut();
  const FolderWalk::Visitor visitor = {
      [&](const std::string& path, const struct stat& status) {
        if (judge_.isTooLarge(status)) {
          report_.notScanned(below(folder.shown, folder.path, path), judge_.tooLargeText());
        }
      },
      [&](const std::string& path, std::string_view reason) {
        report_.notScanned(below(folder.shown, folder.path, path), reason);
      }};
  const FolderWalk::Findings found = FolderWalk::through(folder.path, visitor);
  const bool withinReach = tree_.deepestFolder == 0 || found.depth < tree_.deepestFolder - 1;
  if (found.lineBreaks || folder.awkward() || !withinReach || found.longestPath >= PATH_MAX) {
    scanPiecewise(folder);
  } else {
    scanWhole(folder, leftOutBefore);
  }
}

void Front::scanWhole(const Entry& folder, std::uint64_t leftOutBefore) {
  Task task;
  task.words = asked_.actions;
  task.words.push_back(folder.path);
  task.isKnown = [&](std::string_view path) { return liesIn(path, folder.path); };
  task.verdict = [&](const ClientLine& line) { passFromFolder(folder, line); };
  const std::uint64_t infections = report_.infections();
  const std::uint64_t failures = report_.failures();
  std::string incident = client_.run(task);
  std::uint64_t leftOut = report_.leftOut() - leftOutBefore;
  if (incident.empty() && client_.lastStatus() > 1 && report_.failures() == failures &&
      leftOut == 0) {
    incident = "the scanner failed with status " + std::to_string(client_.lastStatus());
  }
  if (!incident.empty()) {
    report_.notScanned(folder.shown, "not to its end: " + incident);
  } else if (leftOut > 0) {
    report_.remark(folder.shown + ": Scanned but for what is named above (" +
                   std::to_string(leftOut) + ")");
  } else if (report_.infections() == infections) {
    report_.clean(folder.shown);
  }
}

void Front::passFromFolder(const Entry& folder, const ClientLine& line) {
  if (line.kind == ClientLine::Kind::clean && line.path == folder.path) {
    return;  // to be said when all is known
  }
  Entry entry;
  entry.path = line.path;
  entry.shown = below(folder.shown, folder.path, line.path);
  const int error = statusOf(entry.path, entry.status);
  const bool noFile =
      line.kind == ClientLine::Kind::inaccessible && error == 0 && !S_ISREG(entry.status.st_mode);
  const bool obstacle = noFile || (error == EACCES && line.kind != ClientLine::Kind::infected);
  const bool tooLarge = line.kind == ClientLine::Kind::infected && isLimitAlert(line.text) &&
                        judge_.isTooLarge(entry.status);
  if (!obstacle && !tooLarge) {  // which the walk said
    judge_.pass(entry, line);
  }
}

void Front::scanPiecewise(const Entry& folder) {
  Work work;
  const FolderWalk::Visitor visitor = {
      [&](const std::string& path, const struct stat& status) {
        if (judge_.isTooLarge(status)) {
          return;  // said already
        }
        Entry entry;
        entry.path = path;
        entry.shown = below(folder.shown, folder.path, path);
        entry.kind = Entry::Kind::file;
        entry.status = status;
        sort(std::move(entry), work);
        if (work.plain.size() + work.awkward.size() >= filesInOneRun) {
          scanFiles(work);
        }
      },
      [](const std::string&, std::string_view) {}};
  FolderWalk::through(folder.path, visitor);
  scanFiles(work);
}

void Front::writeSummary(std::chrono::system_clock::time_point start, Clock::Duration length) {
  if (asked_.noSummary) {
    return;
  }
  const double seconds = std::chrono::duration<double>(length).count();
  const int whole = static_cast<int>(seconds);
  std::array<char, 64> time;
  std::snprintf(time.data(), time.size(), "Time: %.3f sec (%d m %d s)", seconds, whole / 60,
                whole % 60);
  report_.summary("");
  report_.summary("----------- SCAN SUMMARY -----------");
  report_.summary("Infected files: " + std::to_string(report_.infections()));
  if (report_.failures() > 0) {
    report_.summary("Total errors: " + std::to_string(report_.failures()));
  }
  report_.summary(time.data());
  report_.summary("Start Date: " + dateText(start));
  report_.summary("End Date:   " + dateText(clock_.wallTime()));
}

}  // namespace quillo::front
