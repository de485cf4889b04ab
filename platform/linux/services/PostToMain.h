#pragma once

#include <functional>

namespace quillo {

// Has an action run on the main thread and returns at once. Any thread.
using PostToMain = std::function<void(std::function<void()> action)>;

}  // namespace quillo
