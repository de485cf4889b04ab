#include "benchmarks/support/Pause.h"

#include <time.h>

namespace bench {

void pauseFor(Seconds length) {
  constexpr double nanosecondsPerSecond = 1e9;
  timespec left{};
  left.tv_sec = static_cast<time_t>(length.count());
  left.tv_nsec =
      static_cast<long>((length.count() - static_cast<double>(left.tv_sec)) * nanosecondsPerSecond);
  while (nanosleep(&left, &left) != 0) {
  }
}

}  // namespace bench
