#pragma once

#include "platform/BackgroundWork.h"

namespace quillo {

// The idle classes of the kernel. Any thread. sched(7), ioprio_set(2).
class IdleThread final : public BackgroundWork {
 public:
  std::string giveWay() override;
};

}  // namespace quillo
