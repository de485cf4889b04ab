#include "tests/desktop/support/screen/PictureParts.h"

#include <functional>

namespace quillo {
namespace {

struct Run {
  int begin = 0;
  int end = 0;
};

// The stretches in [begin, end) where `differs` holds, joined over gaps of less than `gap`.
std::vector<Run> runs(int begin, int end, int gap, const std::function<bool(int at)>& differs) {
  std::vector<Run> found;
  for (int at = begin; at < end; ++at) {
    if (!differs(at)) {
      continue;
    }
    if (found.empty() || at - found.back().end >= gap) {
      found.push_back({at, at});
    }
    found.back().end = at + 1;
  }
  return found;
}

}  // namespace

std::vector<QRect> buttonsIn(const QImage& picture, const QRect& window, int heightOfMiddle) {
  constexpr int smallestGap = 3;
  constexpr int narrowest = 40;
  const int y = window.bottom() - heightOfMiddle;
  const QRgb background = picture.pixel(window.right() - 2, window.bottom() - 2);
  std::vector<QRect> buttons;
  for (const Run& run : runs(window.left() + 2, window.right() - 1, smallestGap,
                             [&](int x) { return picture.pixel(x, y) != background; })) {
    if (run.end - run.begin >= narrowest) {
      buttons.emplace_back(run.begin, y - 1, run.end - run.begin, 3);
    }
  }
  return buttons;
}

bool looksEnabled(const QImage& picture, const QRect& button) {
  constexpr int heightOfText = 5;
  constexpr int contrastOfText = 150;
  constexpr int frame = 4;
  int darkest = 255;
  int brightest = 0;
  const QRect text = button.adjusted(frame, -heightOfText, -frame, heightOfText);
  for (int y = text.top(); y <= text.bottom(); ++y) {
    for (int x = text.left(); x <= text.right(); ++x) {
      darkest = qMin(darkest, qGray(picture.pixel(x, y)));
      brightest = qMax(brightest, qGray(picture.pixel(x, y)));
    }
  }
  return brightest - darkest > contrastOfText;
}

std::vector<QRect> itemsIn(const QImage& picture, const QRect& menu) {
  constexpr int smallestGap = 3;
  constexpr int lowestText = 5;
  const QRect inner = menu.adjusted(24, 3, -24, -3);
  const QRgb background = picture.pixel(menu.right() - 8, menu.top() + 6);
  const auto hasText = [&](int y) {
    for (int x = inner.left(); x <= inner.right(); ++x) {
      if (picture.pixel(x, y) != background) {
        return true;
      }
    }
    return false;
  };
  std::vector<QRect> items;
  for (const Run& run : runs(inner.top(), inner.bottom() + 1, smallestGap, hasText)) {
    if (run.end - run.begin >= lowestText) {
      items.emplace_back(inner.left(), run.begin, inner.width(), run.end - run.begin);
    }
  }
  return items;
}

}  // namespace quillo
