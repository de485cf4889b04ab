#include "platform/linux/pages/WindowSize.h"

#include <cstdio>
#include <optional>

#include "posix/FileFacts.h"
#include "posix/OwnFile.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr int smallest = 240;
constexpr int greatest = 16384;

bool isSensible(int pixels) { return pixels >= smallest && pixels <= greatest; }

std::optional<QSize> sizeIn(const std::string& contents) {
  int width = 0;
  int height = 0;
  const bool isRead = std::sscanf(contents.c_str(), "%5d %5d", &width, &height) == 2;
  return isRead && isSensible(width) && isSensible(height)
             ? std::optional<QSize>(QSize(width, height))
             : std::nullopt;
}

}  // namespace

QSize windowSizeFrom(const std::string& file, const QSize& usual, const QSize& room) {
  const std::string contents = file.empty() ? "" : contentsOfFile(file).value_or("");
  return sizeIn(contents).value_or(usual).boundedTo(room);
}

void keepWindowSize(const std::string& file, const QSize& size) {
  if (!file.empty() && makeFolders(deletingLastPathComponent(file)) == 0) {
    writeOwnFile("The size of the window", file,
                 std::to_string(size.width()) + " " + std::to_string(size.height()) + "\n");
  }
}

}  // namespace quillo
