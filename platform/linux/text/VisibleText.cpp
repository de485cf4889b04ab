#include "platform/linux/text/VisibleText.h"

#include <cstdint>
#include <cstdio>

#include "posix/HiddenText.h"
#include "posix/Text.h"

namespace quillo {
namespace {

void appendEscape(std::string& out, std::uint32_t code, bool isByte) {
  char text[16];
  std::snprintf(text, sizeof text, isByte || code < 0x80 ? "\\x%02x" : "\\u%04x", code);
  out += text;
}

std::string visible(std::string_view text, bool keepsLineFeeds) {
  std::string out;
  while (!text.empty()) {
    const std::size_t length = utf8SequenceLength(text);
    if (length == 0) {
      appendEscape(out, static_cast<unsigned char>(text[0]), true);
      text.remove_prefix(1);
      continue;
    }
    const std::uint32_t code = codePointOf(text.substr(0, length));
    if (code == '\n') {
      out += keepsLineFeeds ? "\n" : "\\n";
    } else if (code == '\t') {
      out += keepsLineFeeds ? " " : "\t";
    } else if (hides(code)) {
      appendEscape(out, code, false);
    } else {
      out += text.substr(0, length);
    }
    text.remove_prefix(length);
  }
  return out;
}

bool isInsideSequence(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

}  // namespace

std::string visibleText(std::string_view text) { return visible(text, false); }

std::string visibleLines(std::string_view text) { return visible(text, true); }

std::string cutInTheMiddle(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) {
    return std::string(text);
  }
  std::size_t head = limit / 2;
  while (head > 0 && isInsideSequence(text[head])) {
    --head;
  }
  std::size_t tail = text.size() - limit / 2;
  while (tail < text.size() && isInsideSequence(text[tail])) {
    ++tail;
  }
  return std::string(text.substr(0, head)) + "…" + std::string(text.substr(tail));
}

QString displayText(std::string_view bytes) { return QString::fromStdString(visibleText(bytes)); }

QString displayLines(std::string_view bytes) { return QString::fromStdString(visibleLines(bytes)); }

QString toolTipText(std::string_view bytes) {
  return displayLines(bytes)
      .replace(u'<', QStringLiteral(u"<\u2060"))
      .replace(u'&', QStringLiteral(u"&\u2060"));
}

QString breakableText(const QString& text) {
  constexpr int longestWord = 24;
  QString result;
  int run = 0;
  for (const QChar character : text) {
    // From here on are the scripts that break a line anywhere.
    const bool isInWord = character.unicode() < 0x2E80 && !character.isSpace();
    run = isInWord ? run + 1 : 0;
    if (run > longestWord) {
      result += QChar(0x200B);
      run = 1;
    }
    result += character;
  }
  return result;
}

QString elidedInTheMiddle(const QString& text, int characters) {
  if (text.size() <= characters) {
    return text;
  }
  qsizetype head = characters / 2;
  qsizetype tail = text.size() - (characters - head - 1);
  if (head > 0 && text.at(head - 1).isHighSurrogate()) {
    --head;
  }
  if (tail < text.size() && text.at(tail).isLowSurrogate()) {
    ++tail;
  }
  return text.left(head) + u'…' + text.mid(tail);
}

}  // namespace quillo
