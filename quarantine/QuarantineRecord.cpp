#include "quarantine/QuarantineRecord.h"

#include <array>
#include <map>
#include <utility>
#include <vector>

#include "clamav/Verdict.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view header = "vantrel-quarantine 1\nstate ";
static_assert(header.size() == recordStatePlace);

constexpr std::array<std::string_view, 3> states = {"moving   ", "moved    ", "restoring"};
constexpr std::array<std::string_view, 4> checks = {"never", "clean", "infected", "unscanned"};
constexpr mode_t allModes = 07777;

std::int64_t nanoseconds(QuarantineRecord::Time time) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

QuarantineRecord::Time timeOf(std::int64_t value) {
  return QuarantineRecord::Time(std::chrono::duration_cast<std::chrono::system_clock::duration>(
      std::chrono::nanoseconds(value)));
}

bool isHash(std::string_view text) {
  return text.empty() ||
         (text.size() == 64 && text.find_first_not_of("0123456789abcdef") == std::string::npos);
}

bool isName(std::string_view name) {
  return !name.empty() && name.size() <= 255 && name != "." && name != ".." &&
         name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

// Absolute, and with a name at its end.
bool isPath(std::string_view path) {
  return path.empty() ||
         (path.front() == '/' && path.find('\0') == std::string_view::npos &&
          path.find("/../") == std::string_view::npos && isName(lastPathComponent(path)));
}

std::string line(std::string_view word, std::string_view value) {
  std::string text(word);
  return text.append(1, ' ').append(value).append(1, '\n');
}

std::string line(std::string_view word, std::int64_t value) {
  return line(word, std::to_string(value));
}

std::string identityText(const FileIdentity& identity) {
  return std::to_string(identity.number) + " " + std::to_string(identity.made) + " " +
         std::to_string(identity.changed) + " " + std::to_string(identity.size);
}

std::optional<FileIdentity> identityOf(std::string_view text) {
  const std::vector<std::string_view> words = split(text, ' ');
  if (words.size() != 4) {
    return std::nullopt;
  }
  const auto number = numberIn<std::uint64_t>(words[0]);
  const auto made = numberIn<std::int64_t>(words[1]);
  const auto changed = numberIn<std::int64_t>(words[2]);
  const auto size = numberIn<std::int64_t>(words[3]);
  if (!number || !made || !changed || !size) {
    return std::nullopt;
  }
  return FileIdentity{0, *number, *made, *changed, *size};
}

// The lines behind the state, by their words. Each is there once; `isWhole` says whether the end
// is.
class Lines {
 public:
  explicit Lines(std::string_view text) {
    for (const std::string_view piece : split(text, '\n')) {
      if (std::exchange(isWhole_, piece == "end" || (isWhole_ && piece.empty()))) {
        isWell_ = isWell_ && piece.empty();
        continue;
      }
      const std::size_t space = piece.find(' ');
      if (space != std::string_view::npos) {
        isWell_ =
            values_.emplace(piece.substr(0, space), piece.substr(space + 1)).second && isWell_;
      }
    }
  }

  bool areWhole() const { return isWell_ && isWhole_; }
  bool has(std::string_view word) const { return values_.count(word) > 0; }
  std::string_view raw(std::string_view word) const {
    const auto found = values_.find(word);
    return found == values_.end() ? std::string_view() : found->second;
  }
  std::string bytes(std::string_view word) const { return bytesOfReported(raw(word)); }
  // Notes when it is missing or no number.
  std::int64_t number(std::string_view word, int base = 10) {
    const auto value = numberIn<std::int64_t>(raw(word), base);
    isWell_ = isWell_ && value;
    return value.value_or(0);
  }
  FileIdentity identity(std::string_view word) {
    const auto value = identityOf(raw(word));
    isWell_ = isWell_ && value;
    return value.value_or(FileIdentity());
  }
  template <std::size_t count>
  std::size_t oneOf(const std::array<std::string_view, count>& words, std::string_view word) {
    for (std::size_t i = 0; i < count; ++i) {
      if (words[i] == raw(word)) {
        return i;
      }
    }
    isWell_ = false;
    return 0;
  }

 private:
  std::map<std::string_view, std::string_view> values_;
  bool isWhole_ = false;
  bool isWell_ = true;
};

void readFacts(Lines& lines, QuarantineRecord& record) {
  record.name = lines.bytes("name");
  record.origin = lines.bytes("origin");
  record.threat = lines.bytes("threat");
  record.moved = timeOf(lines.number("moved"));
  record.identity = lines.identity("identity");
  record.hash = lines.raw("sha256");
  record.mode = static_cast<mode_t>(lines.number("mode", 8)) & allModes;
  record.owner = static_cast<uid_t>(lines.number("owner"));
  record.accessed = lines.number("accessed");
  record.changed = lines.number("changed");
  record.check = static_cast<QuarantineRecord::Check>(lines.oneOf(checks, "check"));
  record.checkedWith = timeOf(lines.number("checked-with"));
  // Records of earlier versions do not have it.
  record.foundWith = timeOf(lines.has("found-with") ? lines.number("found-with") : 0);
  if (record.state == QuarantineRecord::State::restoring) {
    record.target = lines.bytes("target");
    record.restored = lines.identity("restored");
  }
}

bool isSensible(const QuarantineRecord& record) {
  return isName(record.name) && isPath(record.origin) && isPath(record.target) &&
         isHash(record.hash) &&
         (record.state != QuarantineRecord::State::restoring || !record.target.empty());
}

}  // namespace

bool isSameInFolder(const FileIdentity& a, const FileIdentity& b) {
  return a.number == b.number && a.made == b.made && a.changed == b.changed && a.size == b.size;
}

std::string_view recordStateText(QuarantineRecord::State state) {
  return states[static_cast<std::size_t>(state)];
}

bool QuarantineRecord::isOf(const FileIdentity& file) const {
  return isSameInFolder(identity, file) ||
         (state == State::restoring && isSameInFolder(restored, file));
}

std::string QuarantineRecord::text() const {
  std::string text(header);
  text.append(recordStateText(state)).append(1, '\n');
  text += line("name", reportedText(name));
  text += line("origin", reportedText(origin));
  text += line("threat", reportedText(threat));
  text += line("moved", nanoseconds(moved));
  text += line("identity", identityText(identity));
  text += line("sha256", hash);
  std::string octal;
  for (mode_t rest = mode & allModes; rest > 0; rest /= 8) {
    octal.insert(octal.begin(), static_cast<char>('0' + rest % 8));
  }
  text += line("mode", octal.empty() ? "0" : octal);
  text += line("owner", static_cast<std::int64_t>(owner));
  text += line("accessed", accessed);
  text += line("changed", changed);
  text += line("check", checks[static_cast<std::size_t>(check)]);
  text += line("checked-with", nanoseconds(checkedWith));
  text += line("found-with", nanoseconds(foundWith));
  if (state == State::restoring) {
    text += line("target", reportedText(target));
    text += line("restored", identityText(restored));
  }
  return text + "end\n";
}

std::optional<QuarantineRecord> QuarantineRecord::parse(std::string_view text) {
  if (!text.starts_with(header) || text.size() > longestRecord) {
    return std::nullopt;
  }
  text.remove_prefix(header.size());
  const std::size_t length = states.front().size();
  QuarantineRecord record;
  bool isKnown = false;
  for (std::size_t i = 0; i < states.size(); ++i) {
    if (text.substr(0, length + 1) == std::string(states[i]) + "\n") {
      record.state = static_cast<State>(i);
      isKnown = true;
    }
  }
  if (!isKnown) {
    return std::nullopt;
  }
  Lines lines(text.substr(length + 1));
  readFacts(lines, record);
  return lines.areWhole() && isSensible(record) ? std::optional(std::move(record)) : std::nullopt;
}

}  // namespace quillo
