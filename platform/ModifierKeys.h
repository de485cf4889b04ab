#pragma once

namespace quillo {

// Which modifier keys were held at the event that is being handled. Main thread.
class ModifierKeys {
 public:
  static constexpr unsigned int optionKey = 0x80000;
  static constexpr unsigned int commandKey = 0x100000;

  virtual ~ModifierKeys() = default;
  // Returns the keys held, as a sum of the masks above.
  virtual unsigned int current() = 0;
};

}  // namespace quillo
