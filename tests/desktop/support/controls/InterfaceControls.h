#pragma once

#include <string>
#include <vector>

namespace quillo {

// What can be pressed, switched or chosen on a page, as its interface file has it.
struct InterfaceControl {
  std::string widget;
  std::string type;       // its class
  std::string name;       // in English, as it is read aloud; "" for what has other words
  std::string accessKey;  // a lower-case letter, its own or that of the label that names it, or ""

  // What works it: its access key, and for what has several values the key to the next one.
  std::string usualKeys() const;
};

// Returns the names of all pages, in alphabetical order.
std::vector<std::string> interfacePages();

// Returns all of a page, in the order of the file.
std::vector<InterfaceControl> controlsOf(const std::string& page);

}  // namespace quillo
