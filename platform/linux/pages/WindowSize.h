#pragma once

#include <QSize>
#include <string>

namespace quillo {

// How large the main window is when it comes: as its user left it, read from a file of two numbers,
// else as is usual; never larger than the room, nor too small to be used. Main thread.
QSize windowSizeFrom(const std::string& file, const QSize& usual, const QSize& room);
// Leaves it there for the next time; "" for nowhere. That it cannot is no loss.
void keepWindowSize(const std::string& file, const QSize& size);

}  // namespace quillo
