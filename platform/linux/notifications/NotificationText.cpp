#include "platform/linux/notifications/NotificationText.h"

#include "platform/linux/text/VisibleText.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::size_t longestTitle = 200;
constexpr std::size_t longestBody = 1000;

}  // namespace

std::string notificationTitle(std::string_view title) {
  return cutInTheMiddle(visibleText(cutInTheMiddle(title, 4 * longestTitle)), longestTitle);
}

std::string notificationBody(std::string_view description, bool hasMarkup) {
  std::string text =
      cutInTheMiddle(visibleLines(cutInTheMiddle(description, 4 * longestBody)), longestBody);
  if (!hasMarkup) {
    return text;
  }
  // The ampersand first, since the others bring their own.
  text = replacingAll(std::move(text), "&", "&amp;");
  text = replacingAll(std::move(text), "<", "&lt;");
  return replacingAll(std::move(text), ">", "&gt;");
}

}  // namespace quillo
