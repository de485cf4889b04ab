#pragma once

#include <functional>

class QWidget;

namespace quillo {

// Has `action` called, guarded, when the user presses the button, chooses in the box or the list,
// or has changed the field; never for what the program sets with its signals blocked. Returns false
// for a widget of another kind. Main thread.
bool connectAction(QWidget& widget, std::function<void()> action);

}  // namespace quillo
