#pragma once

#include <QSize>

class QDialog;
class QLayout;
class QScrollArea;

namespace quillo {

// How large a window is: as its texts need in the user's own font, but never larger than the room
// on the screen. Where that is too little its buttons stand on top of each other and its texts
// scroll, so that every button can be reached. The size is fixed, which tiling desktops take for a
// window that floats. Main thread.
class DialogSize {
 public:
  explicit DialogSize(QDialog& window);

  // Sizes a window that is about to be shown.
  void fit(const QSize& room);
  // Makes one that is shown as high as it has come to need, and no lower than it is; its width
  // stays. Returns how much higher it has become.
  int grow(const QSize& room);

 private:
  void arrange(int width);
  void fitPaths(int width);
  void scrollTexts();
  int heightFor(int width) const;
  QSize sizeOfTexts(int width) const;
  void layOut(int width);
  void setSize(int width, int height);

  QDialog& window_;
  const int usualWidth_;
  QScrollArea* scroller_ = nullptr;
};

}  // namespace quillo
