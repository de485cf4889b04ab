#pragma once

#include <functional>
#include <optional>

#include "platform/ModifierKeys.h"

namespace quillo {

// Alt is Option, Ctrl is Command.
class QtModifierKeys final : public ModifierKeys {
 public:
  // The keys of the event that performWith() is running, else the keys held now: a click that comes
  // over D-Bus brings none with it.
  unsigned int current() override;
  // Runs `action` as the handling of an event at which `keys` were held. Main thread.
  void performWith(unsigned int keys, const std::function<void()>& action);

 private:
  std::optional<unsigned int> keysOfEvent_;
};

}  // namespace quillo
