#pragma once

#include <cstddef>
#include <functional>

#include "platform/Page.h"

class QWidget;

namespace quillo {

// Asks in a box of the window, which cannot be used meanwhile, while the main thread goes on.
// `answered` gets the number of the button that was pressed, of the last one when the box was
// closed in another way. Main thread.
void askInBox(QWidget& window, const Question& question, std::function<void(std::size_t)> answered);

}  // namespace quillo
