#pragma once

#include <functional>
#include <string>
#include <vector>

class QWidget;

namespace quillo {

enum class Choosable { files, folders };

// Has files or a folder chosen in the desktop's own dialog, while the main thread goes on. `chosen`
// gets their paths; it is not called when the user chooses nothing. `where` is the folder in which
// to begin, or "". Main thread.
void choosePaths(QWidget& window, Choosable what, const std::string& title,
                 const std::string& where,
                 std::function<void(const std::vector<std::string>& paths)> chosen);

}  // namespace quillo
