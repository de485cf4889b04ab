#pragma once

#include <functional>
#include <optional>
#include <string>

namespace quillo {

// Values that scripts of the desktop may read from the running agent. Main thread.
class ScriptingKeys {
 public:
  virtual ~ScriptingKeys() = default;
  // Has `valueForKey` called on the main thread whenever a script asks; it returns nothing for an
  // unknown key.
  virtual void publish(
      std::function<std::optional<std::string>(const std::string& key)> valueForKey) = 0;
};

}  // namespace quillo
