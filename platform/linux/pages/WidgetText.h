#pragma once

#include <QString>
#include <optional>
#include <string>

class QWidget;

namespace quillo {

// Returns the text of a label, a field, a button or a group box; nothing for another widget. Main
// thread.
std::optional<QString> widgetText(const QWidget& widget);
// Shows the bytes there, with nothing hidden in them and no markup, and calls nobody. Main thread.
void setWidgetText(QWidget& widget, const std::string& bytes);

}  // namespace quillo
