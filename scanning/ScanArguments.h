#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillo {

// What a scanner asks of the status menu.
class ScannerMenu {
 public:
  virtual ~ScannerMenu() = default;
  virtual std::string getQuitMenuName() const = 0;
};

// The scan argument list: element 0 the status menu, element 1 the scanner program, then its
// arguments.
using ScanArgument = std::variant<ScannerMenu*, std::string>;
using ScanArgumentList = std::vector<ScanArgument>;

// The folder that "--move=" names, as the parameters give it.
inline std::string folderOfMoveOption(const std::string& moveOption) {
  return moveOption.substr(std::min(std::string_view("--move=").size(), moveOption.size()));
}

}  // namespace quillo
