#include "tools/clamdscan/Report.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "posix/Text.h"

namespace quillo::front {
namespace {

constexpr std::size_t atomicWrite = 4096;
constexpr std::string_view verdictEnd = " FOUND";

void appendEscaped(std::string& text, char byte) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto value = static_cast<unsigned char>(byte);
  text += "\\x";
  text += digits[value >> 4U];
  text += digits[value & 0xFU];
}

bool endsLikeAVerdict(std::string_view line) {
  return line.size() >= verdictEnd.size() &&
         line.substr(line.size() - verdictEnd.size()) == verdictEnd;
}

std::string harmless(std::string_view line) {
  std::string text = printable(line);
  if (endsLikeAVerdict(text)) {
    text += " (this is no verdict)";
  }
  return text;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const auto lead = static_cast<unsigned char>(text[0]);
    const std::size_t length = lead < 0x20 || lead == 0x7F ? 0 : utf8SequenceLength(text);
    if (length == 0) {
      appendEscaped(result, text[0]);
      text.remove_prefix(1);
    } else {
      result.append(text.substr(0, length));
      text.remove_prefix(length);
    }
  }
  return result;
}

void Report::clean(std::string_view path) {
  if (!style_.infectedOnly && !style_.quiet) {
    add(style_.output, printable(path) + ": OK");
  }
}

void Report::infected(std::string_view path, std::string_view threat) {
  ++infections_;
  // Readers take what stands before the last colon for the path.
  std::string name = printable(threat);
  std::replace(name.begin(), name.end(), ':', '_');
  if (!style_.quiet) {
    add(style_.output, printable(path) + ": " + name + std::string(verdictEnd));
  }
}

void Report::notScanned(std::string_view path, std::string_view reason) {
  ++failures_;
  ++leftOut_;
  add(style_.errors, harmless(std::string(path) + ": Not scanned: " + std::string(reason)));
}

void Report::error(std::string_view line) {
  ++failures_;
  add(style_.errors, harmless(line));
}

void Report::remark(std::string_view line) {
  if (!style_.quiet) {
    add(style_.errors, harmless(line));
  }
}

void Report::summary(std::string_view line) {
  if (!style_.quiet) {
    add(style_.output, harmless(line));
  }
}

void Report::add(int descriptor, std::string line) {
  line += '\n';
  if (descriptor != target_ || gathered_.size() + line.size() > atomicWrite) {
    flush();
  }
  target_ = descriptor;
  gathered_ += line;
}

void Report::flush() {
  std::string_view rest = gathered_;
  while (!rest.empty()) {
    const ssize_t count = write(target_, rest.data(), rest.size());
    if (count < 0 && errno != EINTR) {
      ++failures_;
      break;
    }
    rest.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  gathered_.clear();
}

int Report::exitStatus() const { return infections_ > 0 ? 1 : failures_ > 0 ? 2 : 0; }

}  // namespace quillo::front
