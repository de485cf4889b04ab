#pragma once

#include <cstddef>
#include <string>

// What the windows of this process show, by the names of their widgets. Main thread.
namespace quillo {

// The middle of the widget, in pixels of the screen: "at X Y", or "nowhere".
std::string where(const std::string& objectName);
// Whether the widget's window takes clicks on its buttons.
bool answersClicks(const std::string& objectName);
// Whether the widget's window can be made larger or smaller.
bool isResizable(const std::string& objectName);
std::string textOf(const std::string& objectName);
// The rows of a list, with ";" between them and "," between their columns.
std::string rowsOf(const std::string& objectName);
// Their tool tips, in the same form.
std::string toolTipsOf(const std::string& objectName);
// The items of the menu that is open for a widget, with ";" between them; "" for no menu.
std::string itemsOfPopup();
// Where the window of the widget is with its frame, in pixels of the screen: "X Y WIDTH HEIGHT".
std::string areaOf(const std::string& objectName);
// The name of the widget that the keys go to.
std::string focused();
// The name of the widget that gets the keys in the window of that widget, once it has them.
std::string focusedBeside(const std::string& objectName);
// Whether the first or the last line of a field of text is to be seen.
bool showsItsStart(const std::string& objectName);
bool showsItsEnd(const std::string& objectName);
// How many dialogs with a message are on the screen.
std::ptrdiff_t shownDialogs();
// Whether the window manager has put a frame around the widget's window, which moves it.
bool isFramed(const std::string& objectName);
// In how many windows a widget of that name is to be seen.
std::ptrdiff_t visibleCount(const std::string& objectName);
// What a screen reader says of the widget: "NAME|DESCRIPTION|CONTENTS", the contents of a field
// that it reads by itself.
std::string spoken(const std::string& objectName);

}  // namespace quillo
