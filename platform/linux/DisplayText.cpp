#include "platform/linux/DisplayText.h"

#include <QStringDecoder>

#include "posix/Text.h"

namespace quillo {
namespace {

bool hides(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x00AD || unit == 0x061C ||
         (unit >= 0x200B && unit <= 0x200F) || (unit >= 0x2028 && unit <= 0x202E) ||
         (unit >= 0x2060 && unit <= 0x206F) || unit == 0xFEFF;
}

QString escaped(char16_t unit) {
  if (unit == u'\n') {
    return "\\n";
  }
  return unit < 0x80 ? QString("\\x%1").arg(unit, 2, 16, QChar(u'0'))
                     : QString("\\u%1").arg(unit, 4, 16, QChar(u'0'));
}

// Of a text that is not all UTF-8, as much as can be read: byte by byte where it is none.
QString decoded(std::string_view bytes) {
  if (isValidUtf8(bytes)) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
  }
  QString text;
  while (!bytes.empty()) {
    std::size_t length = 1;
    while (length < 4 && length < bytes.size() && !isValidUtf8(bytes.substr(0, length))) {
      ++length;
    }
    if (isValidUtf8(bytes.substr(0, length))) {
      text += QString::fromUtf8(bytes.data(), static_cast<qsizetype>(length));
    } else {
      length = 1;
      text += QString("\\x%1").arg(static_cast<unsigned char>(bytes[0]), 2, 16, QChar(u'0'));
    }
    bytes.remove_prefix(length);
  }
  return text;
}

QString withoutHidden(const QString& text, bool keepsLineFeeds) {
  QString shown;
  shown.reserve(text.size());
  for (const QChar unit : text) {
    if (hides(unit.unicode()) && !(keepsLineFeeds && unit == u'\n')) {
      shown += escaped(unit.unicode());
    } else {
      shown += unit;
    }
  }
  return shown;
}

}  // namespace

QString displayText(std::string_view bytes) { return withoutHidden(decoded(bytes), false); }

QString displayLines(std::string_view bytes) { return withoutHidden(decoded(bytes), true); }

QString elidedInTheMiddle(const QString& text, int characters) {
  if (text.size() <= characters) {
    return text;
  }
  qsizetype head = characters / 2;
  qsizetype tail = text.size() - (characters - head - 1);
  if (text.at(head - 1).isHighSurrogate()) {
    --head;
  }
  if (text.at(tail).isLowSurrogate()) {
    ++tail;
  }
  return text.left(head) + u'…' + text.mid(tail);
}

bool InfectionLine::parse(std::string_view line, InfectionLine& parsed) {
  constexpr std::string_view ending = " FOUND";
  const int colon = lastColon(line);
  if (colon < 0 || !line.ends_with(ending)) {
    return false;
  }
  const auto end = static_cast<std::size_t>(colon);
  if (end + 1 + ending.size() > line.size()) {
    return false;
  }
  parsed.path = line.substr(0, end);
  parsed.threat = trimmed(line.substr(end + 1, line.size() - ending.size() - end - 1));
  return true;
}

}  // namespace quillo
