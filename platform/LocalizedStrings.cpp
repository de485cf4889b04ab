#include "platform/LocalizedStrings.h"

namespace quillo {

// Piece by piece, for a value may hold a "%@" itself.
std::string Wording::in(LocalizedStrings& strings) const {
  std::string text = key.empty() ? "" : strings.stringForKey(key, "");
  if (text.empty()) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      text += i == 0 ? "%@" : ": %@";
    }
  }
  std::string words;
  std::size_t at = 0;
  for (const std::string& value : values) {
    const std::size_t place = text.find("%@", at);
    if (place == std::string::npos) {
      break;
    }
    words += text.substr(at, place - at) + value;
    at = place + 2;
  }
  return words + text.substr(at);
}

}  // namespace quillo
