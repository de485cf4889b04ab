#include "posix/HiddenText.h"

namespace quillo {

std::uint32_t codePointOf(std::string_view sequence) {
  const auto lead = static_cast<unsigned char>(sequence[0]);
  if (sequence.size() == 1) {
    return lead;
  }
  std::uint32_t code = lead & (0xFFU >> (sequence.size() + 1));
  for (const char next : sequence.substr(1)) {
    code = (code << 6U) | (static_cast<unsigned char>(next) & 0x3FU);
  }
  return code;
}

bool hides(std::uint32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0xAD || code == 0x61C ||
         code == 0x200B || code == 0x200E || code == 0x200F || (code >= 0x2028 && code <= 0x202E) ||
         (code >= 0x2060 && code <= 0x206F) || code == 0xFEFF;
}

}  // namespace quillo
