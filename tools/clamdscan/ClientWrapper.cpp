#include "tools/clamdscan/ClientWrapper.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::wrapper {
namespace {

// Several entries may stand for one file, which may have gone after the first.
std::vector<Job> jobsFor(std::vector<Entry> files) {
  std::vector<Job> jobs;
  std::unordered_map<std::string, std::size_t> places;
  for (Entry& entry : files) {
    const auto [place, isNew] = places.emplace(entry.path, jobs.size());
    if (isNew) {
      jobs.emplace_back();
    }
    jobs[place->second].entries.push_back(std::move(entry));
  }
  return jobs;
}

std::string below(const std::string& shownFolder, const std::string& folder,
                  std::string_view path) {
  const std::string_view rest = path.substr(folder.size());
  const bool slashIsThere = shownFolder.back() == '/' || rest.empty() || rest.front() == '/';
  const bool twoSlashes = shownFolder.back() == '/' && rest.starts_with('/');
  return shownFolder + (slashIsThere ? "" : "/") + std::string(rest.substr(twoSlashes ? 1 : 0));
}

std::string dateText(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm parts = {};
  localtime_r(&seconds, &parts);
  std::array<char, 32> text;
  return std::string(text.data(),
                     std::strftime(text.data(), text.size(), "%Y:%m:%d %H:%M:%S", &parts));
}

std::size_t descriptorsAllowed() {
  constexpr rlim_t enough = 4096;
  rlimit limit = {};
  return getrlimit(RLIMIT_NOFILE, &limit) == 0
             ? static_cast<std::size_t>(std::min(limit.rlim_cur, enough))
             : 64;
}

// A walk keeps folders open too, and some are this program's own.
DescriptorScan::Limits limitsFor(const TreeSettings& tree, bool multiscan, std::size_t descriptors,
                                 Clock::Duration patience) {
  constexpr std::size_t scannedAndWaiting = 2;
  DescriptorScan::Limits limits;
  // For each thread of the daemon one that waits, so that none is idle before the next is sent.
  limits.underWay = std::min({multiscan ? 2 * tree.manners.threads : scannedAndWaiting,
                              tree.manners.queue, std::max<std::size_t>(1, descriptors / 4)});
  limits.busy = std::max(tree.manners.threads, scannedAndWaiting);
  limits.inOrder = !multiscan;
  limits.silence = tree.manners.silence;
  limits.patience = patience;
  return limits;
}

}  // namespace

ClientWrapper::ClientWrapper(const TreeSettings& tree, const CommandLine& asked, Report& report,
                             Clock& clock, const Starter& starter, Clock::Duration patience)
    : asked_(asked),
      report_(report),
      clock_(clock),
      starter_(starter),
      descriptors_(descriptorsAllowed()),
      moveFolder_(clock),
      judge_(report, moveFolder_, tree.limits,
             {tree.scratchFolder, ScratchFolder::ownerNamed(tree.daemonAccount), clock}),
      progress_(report, clock),
      link_(tree, report, starter_, std::chrono::ceil<std::chrono::milliseconds>(patience)),
      scan_(
          link_, starter_, clock, limitsFor(tree, asked.multiscan, descriptors_, patience),
          [this](const Job& job, const Answer& answer) {
            judge_.pass(job, answer);
            progress_.judged(job);
          },
          [this] {
            report_.flush();
            progress_.beforeWaiting(scan_.holds());
          }) {
  moveFolder_.setDefinitions(tree.definitionsFolder);
}

int ClientWrapper::run() {
  try {
    return scanAll();
  } catch (const Starter::Gone&) {
    return 2;
  }
}

int ClientWrapper::scanAll() {
  const auto start = clock_.wallTime();
  const Clock::Duration begin = clock_.now();
  openMoveFolder();
  if (const auto paths = givenPaths()) {
    std::vector<Entry> files;
    std::vector<Entry> folders;
    PathResolver resolver;
    for (const std::string& path : *paths) {
      Entry entry = resolver.resolve(path);
      if (entry.kind == Entry::Kind::unscannable) {
        report_.notScanned(entry.shown, entry.reason, entry.path.empty() ? "" : entry.target());
      } else {
        (entry.kind == Entry::Kind::folder ? folders : files).push_back(std::move(entry));
      }
    }
    scanFiles(std::move(files));
    for (const Entry& folder : folders) {
      scanFolder(folder);
    }
  }
  if (judge_.doubtsMemory()) {
    link_.forgetWhatIsClean();
  }
  progress_.end();
  writeSummary(start, clock_.now() - begin);
  report_.flush();
  return report_.exitStatus();
}

void ClientWrapper::openMoveFolder() {
  if (!asked_.moveFolder) {
    return;
  }
  const std::string problem = moveFolder_.open(*asked_.moveFolder);
  if (!problem.empty()) {
    judge_.noMoving(problem);
    report_.error("ERROR: --move=" + *asked_.moveFolder + ": " + problem +
                  "; infected files stay where they are");
  }
}

std::optional<std::vector<std::string>> ClientWrapper::givenPaths() {
  if (!asked_.fileList) {
    return asked_.paths.empty() ? std::vector<std::string>{"."} : asked_.paths;
  }
  if (!asked_.paths.empty()) {
    report_.remark(
        "WARNING: Only scanning files from --file-list (files passed at cmdline are ignored)");
  }
  // A list may be a pipe: who waits for it wants it.
  const UniqueFd list(open(asked_.fileList->c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  const auto text = list ? restOfFile(list.get()) : std::nullopt;
  if (!text) {
    report_.error("ERROR: --file-list: Can't open file " + *asked_.fileList + ": " +
                  reasonText(errno));
    return std::nullopt;
  }
  std::vector<std::string> paths;
  for (const std::string_view line : split(*text, '\n')) {
    if (!line.empty()) {
      paths.push_back(pathOfLine(line));
    }
  }
  return paths;
}

// Files that the daemon has may have to be done first, so that another can be opened.
template <typename Opener>
UniqueFd ClientWrapper::openWith(const Opener& opener) {
  for (;;) {
    UniqueFd file = opener();
    const int error = errno;
    if (file || (error != EMFILE && error != ENFILE) || !scan_.makeRoom()) {
      errno = error;
      return file;
    }
  }
}

UniqueFd ClientWrapper::openIn(int folder, const char* name) {
  constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  return openWith([&] { return UniqueFd(openat(folder, name, flags)); });
}

void ClientWrapper::scan(Job job, int error) {
  std::optional<Answer> problem = job.file ? judge_.objection(job) : Judge::unopened(error);
  if (problem) {
    scan_.addUnscannable(std::move(job), std::move(*problem));
  } else {
    scan_.add(std::move(job));
  }
}

void ClientWrapper::scanFiles(std::vector<Entry> files) {
  // Files of one folder come together.
  std::string folderPath;
  UniqueFd folder;
  int error = 0;
  for (Job& job : jobsFor(std::move(files))) {
    const std::string& path = job.entries.front().path;
    if (const std::string needed = deletingLastPathComponent(path);
        !folder || needed != folderPath) {
      // Not through anything that became a link since.
      folder = openWith([&] { return openWithoutLinks(needed, O_PATH | O_DIRECTORY); });
      error = errno;
      folderPath = needed;
    }
    if (folder) {
      job.file = openIn(folder.get(), std::string(lastPathComponent(path)).c_str());
      error = errno;
    }
    scan(std::move(job), error);
  }
  scan_.finish();
}

bool ClientWrapper::scanInFolder(const Entry& folder, int parent, const char* name,
                                 const std::string& path) {
  Job job;
  job.inFolder = true;
  job.file = openIn(parent, name);
  const int error = errno;
  Entry entry;
  entry.kind = Entry::Kind::file;
  entry.path = path;
  entry.shown = below(folder.shown, folder.path, path);
  job.entries.push_back(std::move(entry));
  scan(std::move(job), error);
  return link_.problem().empty();
}

void ClientWrapper::scanFolder(const Entry& folder) {
  const std::uint64_t leftOutBefore = report_.leftOut();
  const std::uint64_t infections = report_.infections();
  if (link_.problem().empty()) {
    const FolderWalk::Visitor visitor = {
        [&](int parent, const char* name, const std::string& path) {
          return scanInFolder(folder, parent, name, path);
        },
        [&](const std::string& path, std::string_view reason) {
          report_.notScanned(below(folder.shown, folder.path, path), reason);
        }};
    FolderWalk::through(folder.path, visitor, std::min(FolderWalk::usualDepth, descriptors_ / 2));
    scan_.finish();
  }
  const std::uint64_t leftOut = report_.leftOut() - leftOutBefore;
  if (!link_.problem().empty()) {
    Verdict verdict;
    verdict.path = folder.shown;
    verdict.target = folder.target();
    verdict.reason = "not to its end: " + link_.problem();
    verdict.daemonGone = Verdict::DaemonGone::before;
    report_.notScanned(std::move(verdict));
  } else if (leftOut > 0) {
    report_.remark(folder.shown + ": Scanned but for what is named above (" +
                   std::to_string(leftOut) + ")");
  } else if (report_.infections() == infections) {
    report_.clean(folder.shown, folder.target());
  }
}

void ClientWrapper::writeSummary(std::chrono::system_clock::time_point start,
                                 Clock::Duration length) {
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
  // A reader that logs every line with its time has no use for these.
  if (!report_.isForProgram()) {
    report_.summary("Start Date: " + dateText(start));
    report_.summary("End Date:   " + dateText(clock_.wallTime()));
  }
}

}  // namespace quillo::wrapper
