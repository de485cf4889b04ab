#include "companion/StartRequest.h"

#include <algorithm>

namespace quillo {
namespace {

using Words = std::vector<std::string>;
using Kind = StartRequest::Kind;

StartRequest misused(const std::string& word) {
  StartRequest request;
  request.kind = Kind::misused;
  request.word = word;
  return request;
}

StartRequest alone(Kind kind, const Words& words) {
  if (words.size() > 1) {
    return misused(words[1]);
  }
  StartRequest request;
  request.kind = kind;
  return request;
}

StartRequest withPage(const Words& words) {
  const std::string beginning = "--page=";
  const bool isJoined = words[0].starts_with(beginning);
  const std::size_t expected = isJoined ? 1 : 2;
  if (words.size() < expected) {
    return misused(words[0]);
  }
  if (words.size() > expected) {
    return misused(words[expected]);
  }
  StartRequest request;
  request.page = isJoined ? words[0].substr(beginning.size()) : words[1];
  return request.page.empty() ? misused(words[0]) : request;
}

StartRequest withPaths(const Words& words) {
  StartRequest request;
  const std::size_t first = words.size() > 1 && words[1] == "--" ? 2 : 1;
  request.paths.assign(words.begin() + static_cast<std::ptrdiff_t>(first), words.end());
  if (std::find(request.paths.begin(), request.paths.end(), "") != request.paths.end()) {
    return misused("");
  }
  return request.paths.empty() ? misused(words[0]) : request;
}

}  // namespace

StartRequest StartRequest::of(const Words& words) {
  if (words.empty()) {
    return {};
  }
  const std::string& first = words.front();
  if (first == "--help" || first == "-h") {
    return alone(Kind::help, words);
  }
  if (first == "--version") {
    return alone(Kind::version, words);
  }
  if (first == "--service") {
    return alone(Kind::service, words);
  }
  if (first == "--page" || first.starts_with("--page=")) {
    return withPage(words);
  }
  if (first == "--open") {
    return withPaths(words);
  }
  if (first.empty() || first.starts_with('-')) {
    return misused(first);
  }
  StartRequest request;
  request.kind = Kind::command;
  request.command = first;
  request.words.assign(words.begin() + 1, words.end());
  return request;
}

}  // namespace quillo
