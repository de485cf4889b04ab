#include "settings/PreferenceWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/TomlText.h"
#include "posix/FileFacts.h"
#include "posix/OwnFile.h"
#include "posix/PlatformException.h"
#include "posix/RealPath.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

using Problem = PreferenceWriter::Problem;
using Outcome = PreferenceWriter::Outcome;

constexpr std::size_t largestFile = 4UL * 1024 * 1024;
constexpr int mostTries = 5;
constexpr std::size_t mostRepairs = 200;
constexpr std::size_t mostSetAside = 1000;

Outcome outcomeOf(const std::string& place, int error) {
  Outcome outcome;
  outcome.reason = place + ": " + std::strerror(error);
  switch (error) {
    case ENOSPC:
    case EDQUOT:
      outcome.problem = Problem::noRoom;
      break;
    case EROFS:
      outcome.problem = Problem::readOnly;
      break;
    case EACCES:
    case EPERM:
      outcome.problem = Problem::forbidden;
      break;
    default:
      outcome.problem = Problem::failed;
  }
  return outcome;
}

bool isOwnOrRoots(uid_t owner) { return owner == geteuid() || owner == 0; }

Outcome notOwn(const std::string& place, uid_t owner) { return {Problem::notOwn, place, owner}; }

// Root may do on the way what it likes; anybody else could lead this user's hand to another file.
Outcome distrustOf(const RealPath& real, const std::string& path) {
  struct stat status = {};
  for (const RealPath::Link& link : real.links()) {
    if (lstat(link.place.c_str(), &status) == 0 && !isOwnOrRoots(status.st_uid)) {
      return notOwn(link.place, status.st_uid);
    }
  }
  const std::string folder = deletingLastPathComponent(path);
  if (stat(folder.c_str(), &status) == 0 && !isOwnOrRoots(status.st_uid)) {
    return notOwn(folder, status.st_uid);
  }
  if (lstat(path.c_str(), &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? Outcome() : outcomeOf(path, errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return {Problem::noFile, path};
  }
  return status.st_uid == geteuid() ? Outcome() : notOwn(path, status.st_uid);
}

mode_t modeOf(const std::string& path) {
  struct stat status = {};
  constexpr mode_t permissions = 0777;
  return lstat(path.c_str(), &status) == 0 ? status.st_mode & permissions : 0600;
}

// A file that is written, and on the disk, under a name of its own beside the one it is for. Gone
// with its object unless it has taken that one's place.
class NewFile {
 public:
  explicit NewFile(const std::string& place)
      : place_(place),
        name_(deletingLastPathComponent(place) + "/." + std::string(lastPathComponent(place)) +
              ".XXXXXX") {}
  ~NewFile() {
    if (isThere_) {
      unlink(name_.c_str());
    }
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  // Returns 0 or an errno.
  int write(const std::string& text, mode_t mode) {
    const UniqueFd file(mkostemp(name_.data(), O_CLOEXEC));
    if (!file) {
      return errno;
    }
    isThere_ = true;
    const bool isWritten =
        writeAll(file.get(), text) && fchmod(file.get(), mode) == 0 && fsync(file.get()) == 0;
    return isWritten ? 0 : errno;
  }
  // Takes the old one's place; from then on the new one lasts.
  int takePlace() {
    if (rename(name_.c_str(), place_.c_str()) != 0) {
      return errno;
    }
    isThere_ = false;
    const UniqueFd folder(
        open(deletingLastPathComponent(place_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) {
      fsync(folder.get());
    }
    return 0;
  }

 private:
  const std::string place_;
  std::string name_;
  bool isThere_ = false;
};

// Writes the bytes under a name that nothing bears yet, which is put into `name`.
int writeAside(const std::string& place, const std::string& text, std::string& name) {
  for (std::size_t number = 1; number <= mostSetAside; ++number) {
    name = place + ".broken" + (number == 1 ? "" : "-" + std::to_string(number));
    const UniqueFd file(
        open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file && errno == EEXIST) {
      continue;
    }
    if (!file) {
      return errno;
    }
    if (writeAll(file.get(), text) && fsync(file.get()) == 0) {
      return 0;
    }
    const int error = errno;
    unlink(name.c_str());
    return error;
  }
  return EEXIST;
}

std::string lineOf(const std::string& text, std::size_t number) {
  const std::vector<std::string_view> lines = split(text, '\n');
  return number == 0 || number > lines.size() ? "" : std::string(trimmed(lines[number - 1]));
}

// A comment may hold no bytes that are no text, either.
std::string asComment(std::string_view line) {
  std::string result = "#";
  while (!line.empty()) {
    const std::size_t length = utf8SequenceLength(line);
    const bool isControl = static_cast<unsigned char>(line.front()) < 0x20 || line.front() == 0x7F;
    const bool isAtEnd = line == "\r";
    const bool isPlain = length > 0 && (!isControl || line.front() == '\t' || isAtEnd);
    result += isPlain ? line.substr(0, length) : std::string_view("?");
    line.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return result;
}

// Returns the line on which the statement begins that the parser stumbled over on `line`: a string
// without an end is noticed at the end of the text.
std::size_t firstLineOfFault(const std::string& text, std::size_t line) {
  const auto lineAt = [&text](std::size_t at) {
    return static_cast<std::size_t>(
        1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
  };
  const std::size_t last = lineAt(text.size());
  for (const TomlStatement& statement : tomlStatements(text)) {
    const std::size_t first = lineAt(statement.lines.begin);
    if (first <= line &&
        (line < lineAt(statement.lines.end) || statement.lines.end == text.size())) {
      return first;
    }
  }
  return std::min(std::max<std::size_t>(line, 1), last);
}

}  // namespace

PreferenceWriter::Contents PreferenceWriter::contents() const {
  Contents result;
  const RealPath real(path_);
  result.place = real.path();
  result.outcome = distrustOf(real, result.place);
  if (result.outcome.problem != Problem::none) {
    return result;
  }
  if (auto text = contentsOfRegularFile(result.place, Links::refused, largestFile)) {
    result.exists = true;
    result.text = std::move(*text);
  } else if (errno == EFBIG) {
    result.outcome = {Problem::tooLarge, result.place};
  } else if (errno != ENOENT && errno != ENOTDIR) {
    result.outcome = outcomeOf(result.place, errno);
  }
  return result;
}

PreferenceWriter::Reading PreferenceWriter::look() const { return readingOf(contents()); }

PreferenceWriter::Reading PreferenceWriter::read() {
  const Contents now = contents();
  if (now.outcome.problem == Problem::none) {
    known_ = now.exists ? std::optional(now.text) : std::nullopt;
    isKnown_ = true;
  }
  return readingOf(now);
}

PreferenceWriter::Reading PreferenceWriter::readingOf(const Contents& now) {
  Reading reading;
  reading.problem = now.outcome.problem;
  reading.reason = now.outcome.reason;
  reading.owner = now.outcome.owner;
  reading.exists = now.exists;
  if (reading.problem != Problem::none) {
    return reading;
  }
  TomlText parsed = TomlText::parse(now.text);
  reading.values = std::move(parsed.values);
  if (parsed.problem) {
    reading.problem = Problem::notToml;
    reading.reason = parsed.problem->reason;
    reading.line = parsed.problem->line;
    reading.column = parsed.problem->column;
    reading.lineText = lineOf(now.text, reading.line);
  }
  return reading;
}

bool PreferenceWriter::wasChangedByHand() const {
  const Contents now = contents();
  return isKnown_ && now.outcome.problem == Problem::none &&
         known_ != (now.exists ? std::optional(now.text) : std::nullopt);
}

bool PreferenceWriter::isStill(const Contents& old) const {
  const Contents now = contents();
  return now.outcome.problem == Problem::none && now.exists == old.exists &&
         now.place == old.place && now.text == old.text;
}

Outcome PreferenceWriter::apply(const Change& change) {
  bool byHand = false;
  for (int tries = 0; tries < mostTries; ++tries) {
    const Contents old = contents();
    if (old.outcome.problem != Problem::none) {
      return old.outcome;
    }
    byHand =
        byHand || (isKnown_ && known_ != (old.exists ? std::optional(old.text) : std::nullopt));
    std::string text;
    if (TomlText::parse(old.text).problem) {
      return {Problem::notToml, old.place, 0, byHand};
    }
    try {
      TomlEditor editor(old.text);
      change(editor);
      text = editor.text();
    } catch (const PlatformException& refusal) {
      return {Problem::notEditable, refusal.reason(), 0, byHand};
    }
    if (text == old.text) {
      known_ = old.exists ? std::optional(text) : std::nullopt;
      isKnown_ = true;
      return {Problem::none, "", 0, byHand};
    }
    Outcome outcome = replace(old, text);
    outcome.wasChangedByHand = byHand;
    if (outcome.problem != Problem::alwaysOther) {
      outcome.isWritten = outcome.problem == Problem::none;
      before_ = outcome.isWritten ? std::optional(old.text) : before_;
      return outcome;
    }
    byHand = true;
  }
  return {Problem::alwaysOther, path_, 0, byHand};
}

// `alwaysOther`: it is another one by now, and nothing was written.
Outcome PreferenceWriter::replace(const Contents& old, const std::string& text) {
  if (const int error = makeFolders(deletingLastPathComponent(old.place))) {
    return outcomeOf(old.place, error);
  }
  NewFile file(old.place);
  if (const int error = file.write(text, modeOf(old.place))) {
    return outcomeOf(old.place, error);
  }
  if (!isStill(old)) {
    return {Problem::alwaysOther, path_};
  }
  if (const int error = file.takePlace()) {
    return outcomeOf(old.place, error);
  }
  known_ = text;
  isKnown_ = true;
  return {};
}

Outcome PreferenceWriter::undo() {
  const Contents now = contents();
  if (now.outcome.problem != Problem::none) {
    return now.outcome;
  }
  if (!before_ || !now.exists || known_ != now.text) {
    before_.reset();
    return {Problem::changedSince, path_, 0, true};
  }
  Outcome outcome = replace(now, *before_);
  if (outcome.problem == Problem::none) {
    before_.reset();
  }
  return outcome;
}

PreferenceWriter::Repair PreferenceWriter::repair() {
  Repair repair;
  const Contents old = contents();
  repair.outcome = old.outcome;
  if (old.outcome.problem != Problem::none || !TomlText::parse(old.text).problem) {
    return repair;
  }
  const auto text = repairedToml(old.text, repair.lines);
  if (!text) {
    repair.outcome = {Problem::notToml, old.place};
    return repair;
  }
  if (const int error = writeAside(old.place, old.text, repair.setAside)) {
    repair.outcome = outcomeOf(repair.setAside, error);
    repair.setAside.clear();
    return repair;
  }
  repair.outcome = replace(old, *text);
  if (repair.outcome.problem != Problem::none) {
    unlink(repair.setAside.c_str());
    repair.setAside.clear();
  }
  before_.reset();
  return repair;
}

std::optional<std::string> repairedToml(const std::string& text, std::vector<std::size_t>& lines) {
  std::vector<std::string> all;
  for (const std::string_view line : split(text, '\n')) {
    all.emplace_back(line);
  }
  std::vector<bool> isComment(all.size(), false);
  for (std::size_t tries = 0; tries <= mostRepairs; ++tries) {
    std::string joined;
    for (const std::string& line : all) {
      joined += line + "\n";
    }
    joined.pop_back();
    const TomlText parsed = TomlText::parse(joined);
    if (!parsed.problem) {
      for (std::size_t index = 0; index < all.size(); ++index) {
        if (isComment[index]) {
          lines.push_back(index + 1);
        }
      }
      return joined;
    }
    std::size_t index = firstLineOfFault(joined, parsed.problem->line);
    while (index > 0 && (isComment[index - 1] || trimmed(all[index - 1]).empty())) {
      --index;
    }
    if (index == 0) {
      break;
    }
    all[index - 1] = asComment(all[index - 1]);
    isComment[index - 1] = true;
  }
  return std::nullopt;
}

}  // namespace quillo
