#pragma once

#include <QImage>
#include <QRect>
#include <vector>

namespace quillo {

// Where the user would point to in a picture of the screen: parts are found by what differs from
// the background.

// The push buttons at the bottom of a window, from left to right. Their middle is so many pixels
// above its lower edge.
constexpr int usualMiddleOfButtons = 22;
std::vector<QRect> buttonsIn(const QImage& picture, const QRect& window,
                             int heightOfMiddle = usualMiddleOfButtons);
// Returns true when a push button looks as if it answered a click.
bool looksEnabled(const QImage& picture, const QRect& button);
// The items of a menu, from top to bottom, without the lines between them.
std::vector<QRect> itemsIn(const QImage& picture, const QRect& menu);

}  // namespace quillo
