#include "platform/linux/text/DisplayText.h"

#include "platform/linux/text/VisibleText.h"

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

}  // namespace quillo
