#include "platform/linux/DisplayText.h"

#include "platform/linux/VisibleText.h"
#include "posix/Text.h"

namespace quillo {

QString displayText(std::string_view bytes) { return QString::fromStdString(visibleText(bytes)); }

QString displayLines(std::string_view bytes) { return QString::fromStdString(visibleLines(bytes)); }

QString toolTipText(std::string_view bytes) {
  return displayLines(bytes)
      .replace(u'<', QStringLiteral(u"<\u2060"))
      .replace(u'&', QStringLiteral(u"&\u2060"));
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
