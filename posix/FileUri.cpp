#include "posix/FileUri.h"

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view scheme = "file:";

bool isAlphanumeric(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isUnreserved(char c) {
  return isAlphanumeric(c) || std::string_view("-._~").find(c) != std::string_view::npos;
}

// RFC 3986, 3.3: what a segment holds besides what is encoded.
bool mayStandInPath(char c) {
  return isUnreserved(c) || std::string_view("/!$&'()*+,;=:@").find(c) != std::string_view::npos;
}

int hexadecimal(char c) {
  const std::size_t value = std::string_view("0123456789abcdef").find(lowercased({&c, 1})[0]);
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

std::optional<std::string> decoded(std::string_view text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      if (!mayStandInPath(text[at])) {
        return std::nullopt;
      }
      bytes += text[at];
      continue;
    }
    if (at + 2 >= text.size()) {
      return std::nullopt;
    }
    const int high = hexadecimal(text[at + 1]);
    const int low = hexadecimal(text[at + 2]);
    const char byte = static_cast<char>(high * 16 + low);
    if (high < 0 || low < 0 || byte == '\0' || byte == '/') {
      return std::nullopt;
    }
    bytes += byte;
    at += 2;
  }
  return bytes;
}

}  // namespace

std::optional<std::string> pathOfFileUri(std::string_view uri) {
  if (lowercased(uri.substr(0, scheme.size())) != scheme) {
    return std::nullopt;
  }
  std::string_view path = uri.substr(scheme.size());
  if (path.starts_with("//")) {
    path.remove_prefix(2);
    const std::string_view host = path.substr(0, path.find('/'));
    if (!host.empty() && lowercased(host) != "localhost") {
      return std::nullopt;
    }
    path.remove_prefix(host.size());
  }
  if (!path.starts_with('/') || path.starts_with("//")) {
    return std::nullopt;
  }
  return decoded(path);
}

std::string percentEncodedPath(std::string_view path) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string uri;
  for (const char c : path) {
    if (isUnreserved(c) || c == '/') {
      uri += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      uri.append({'%', digits[byte / 16], digits[byte % 16]});
    }
  }
  return uri;
}

}  // namespace quillo
