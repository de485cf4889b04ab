#pragma once

class QWidget;

namespace quillo {

// Has the mouse wheel change what is chosen in the boxes below a widget only while the box has the
// keyboard: whoever scrolls past it scrolls what is around it. Main thread.
void leaveWheelToFocused(QWidget& root);

}  // namespace quillo
