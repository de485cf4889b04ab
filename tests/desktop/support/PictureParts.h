#pragma once

#include <QImage>
#include <QRect>
#include <vector>

namespace quillo {

// Where the user would point to in a picture of the screen: parts are told by what differs from the
// background.

// The push buttons at the bottom of a window, from left to right.
std::vector<QRect> buttonsIn(const QImage& picture, const QRect& window);
// Whether a push button looks as if it answered a click.
bool looksEnabled(const QImage& picture, const QRect& button);
// The items of a menu, from top to bottom, without the lines between them.
std::vector<QRect> itemsIn(const QImage& picture, const QRect& menu);

}  // namespace quillo
