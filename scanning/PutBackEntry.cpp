#include "scanning/PutBackEntry.h"

#include <fcntl.h>

#include <vector>

#include "clamav/Verdict.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr std::int64_t longestHashed = 64LL * 1024 * 1024;

bool isHash(std::string_view text) {
  return text.empty() ||
         (text.size() == 64 && text.find_first_not_of("0123456789abcdef") == std::string::npos);
}

}  // namespace

std::optional<FilePrint> FilePrint::of(const std::string& path, Hash hashed) {
  const auto before = FileIdentity::at(path);
  if (!before) {
    return std::nullopt;
  }
  FilePrint print{*before, ""};
  if (hashed == Hash::always || before->size <= longestHashed) {
    const UniqueFd file(
        open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    const auto hash = file ? sha256OfFile(file.get(), before->size) : std::nullopt;
    if (!hash || FileIdentity::at(path) != before) {
      return std::nullopt;
    }
    print.hash = *hash;
  }
  return print;
}

// Fields with a tab between them; no name holds one in its reported spelling.
std::string PutBackEntry::line() const {
  const FileIdentity& identity = print.identity;
  std::string text = kind == Kind::copy ? "copy" : kind == Kind::allowed ? "allowed" : "file";
  for (const auto number : {identity.device, identity.number}) {
    text += "\t" + std::to_string(number);
  }
  for (const auto number : {identity.made, identity.changed, identity.size}) {
    text += "\t" + std::to_string(number);
  }
  return text + "\t" + print.hash + "\t" + reportedText(threat) + "\t" + reportedText(path) + "\n";
}

std::optional<PutBackEntry> PutBackEntry::parse(std::string_view line) {
  const std::vector<std::string_view> fields = split(line, '\t');
  if (fields.size() != 9 || !isHash(fields[6])) {
    return std::nullopt;
  }
  const bool isAllowed = fields[0] == "allowed";
  if (!isAllowed && fields[0] != "copy" && fields[0] != "file") {
    return std::nullopt;
  }
  const auto device = numberIn<std::uint64_t>(fields[1]);
  const auto number = numberIn<std::uint64_t>(fields[2]);
  const auto made = numberIn<std::int64_t>(fields[3]);
  const auto changed = numberIn<std::int64_t>(fields[4]);
  const auto size = numberIn<std::int64_t>(fields[5]);
  if (!device || !number || !made || !changed || !size) {
    return std::nullopt;
  }
  PutBackEntry entry{isAllowed             ? Kind::allowed
                     : fields[0] == "copy" ? Kind::copy
                                           : Kind::file,
                     bytesOfReported(fields[8]),
                     bytesOfReported(fields[7]),
                     {}};
  entry.print.identity = {*device, *number, *made, *changed, *size};
  entry.print.hash = fields[6];
  return entry;
}

}  // namespace quillo
