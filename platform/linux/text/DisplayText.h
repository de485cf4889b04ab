#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace quillo {

// visibleText() and visibleLines() for Qt. Any thread.
QString displayText(std::string_view bytes);
QString displayLines(std::string_view bytes);
// displayLines() for where a host may take a tool tip for markup (Qt by its looks, panels for
// Pango's or HTML): behind what would begin a tag or an entity stands a mark that shows nothing
// (U+2060).
QString toolTipText(std::string_view bytes);
// At most `characters` of the text, with "…" in place of its middle.
QString elidedInTheMiddle(const QString& text, int characters);

}  // namespace quillo
