#include "platform/linux/text/MenuTitle.h"

#include "platform/linux/text/DisplayText.h"

namespace quillo {
namespace {

constexpr int longestTitle = 90;

// Qt hands a panel the text with its first "&" made a "_" and all others as they are; a text that
// ends in its first "&" stays as it is.
QString forPanel(QString title) {
  title.replace("_", "__");
  const qsizetype ampersand = title.indexOf(u'&');
  if (ampersand >= 0 && ampersand < title.size() - 1) {
    title.insert(ampersand, u'&');
  }
  return title;
}

}  // namespace

MenuTitle MenuTitle::withAccessKey(const std::string& markedText) {
  MenuTitle title;
  for (std::size_t i = 0; i < markedText.size(); ++i) {
    if (markedText[i] == '&' && i + 1 < markedText.size()) {
      ++i;
      if (markedText[i] != '&' && title.accessKey_ == std::string::npos) {
        title.accessKey_ = title.text_.size();
      }
    }
    title.text_ += markedText[i];
  }
  return title;
}

MenuTitle MenuTitle::plain(const std::string& text) {
  MenuTitle title;
  title.text_ = text;
  return title;
}

QString MenuTitle::forHost(MenuHost host) const {
  if (accessKey_ != std::string::npos) {
    QString before = displayText(text_.substr(0, accessKey_));
    QString after = displayText(text_.substr(accessKey_));
    if (host == MenuHost::panel) {
      return before.replace("_", "__") + u'&' + after.replace("_", "__");
    }
    return before.replace("&", "&&") + u'&' + after.replace("&", "&&");
  }
  QString title = elidedInTheMiddle(displayText(text_), longestTitle);
  return host == MenuHost::panel ? forPanel(title) : title.replace("&", "&&");
}

}  // namespace quillo
