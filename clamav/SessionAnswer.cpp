#include "clamav/SessionAnswer.h"

#include <charconv>

namespace quillo {
namespace {

constexpr std::string_view colon = ": ";
constexpr std::string_view foundEnd = " FOUND";
constexpr std::string_view errorEnd = " ERROR";

}  // namespace

std::optional<SessionAnswer> SessionAnswer::parse(std::string_view answer) {
  SessionAnswer result;
  const char* const end = answer.data() + answer.size();
  const auto [behind, error] = std::from_chars(answer.data(), end, result.number);
  std::string_view rest(behind, static_cast<std::size_t>(end - behind));
  if (error != std::errc() || !rest.starts_with(colon)) {
    return std::nullopt;
  }
  rest.remove_prefix(colon.size());
  if (rest == "PONG") {
    result.kind = Kind::pong;
    return result;
  }
  if (rest.ends_with(errorEnd)) {
    // Some of them name no descriptor.
    const std::size_t start = rest.starts_with("fd[") ? rest.find(colon) : std::string_view::npos;
    result.text = rest.substr(start == std::string_view::npos ? 0 : start + colon.size());
    result.text.remove_suffix(errorEnd.size());
    return result;
  }
  const std::size_t start = rest.find(colon);
  if (!rest.starts_with("fd[") || start == std::string_view::npos) {
    return std::nullopt;
  }
  rest.remove_prefix(start + colon.size());
  if (rest == "OK") {
    result.kind = Kind::clean;
    return result;
  }
  if (!rest.ends_with(foundEnd) || rest.size() == foundEnd.size()) {
    return std::nullopt;
  }
  result.kind = Kind::infected;
  result.text = rest.substr(0, rest.size() - foundEnd.size());
  return result;
}

}  // namespace quillo
