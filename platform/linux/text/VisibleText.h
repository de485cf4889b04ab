#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace quillo {

// Returns any bytes as well-formed UTF-8 in which nothing hides: control characters, line breaks
// and the marks that turn the direction of writing are shown as "\n", "\x1b" or "\u202e", and bytes
// that are no UTF-8 as "\xff". Pure; any thread.
std::string visibleText(std::string_view text);
// visibleText() in which line feeds stay line feeds.
std::string visibleLines(std::string_view text);

// Returns at most about `limit` bytes of well-formed UTF-8: the start and the end of a longer text
// with "…" between them, cut between characters.
std::string cutInTheMiddle(std::string_view text, std::size_t limit);

// visibleText() and visibleLines() for Qt. Any thread.
QString displayText(std::string_view bytes);
QString displayLines(std::string_view bytes);
// displayLines() for where a host may take a tool tip for markup (Qt by its looks, panels for
// Pango's or HTML): behind what would begin a tag or an entity stands a mark that shows nothing
// (U+2060).
QString toolTipText(std::string_view bytes);
// Returns the text with a mark that shows nothing (U+200B) wherever a line may break within a long
// word: a label is as wide as its longest word.
QString breakableText(const QString& text);
// Returns at most `characters` of the text, with "…" in place of its middle.
QString elidedInTheMiddle(const QString& text, int characters);

}  // namespace quillo
