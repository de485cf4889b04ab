#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace bench {

// What processes have used so far, each with all its threads (proc(5)).
double processorMilliseconds(const std::vector<pid_t>& processes);
// How often one of their threads waited and was woken.
double wakeUps(const std::vector<pid_t>& processes);
// Every process of that name, and those that they have started.
std::vector<pid_t> familyOf(const std::string& name);

}  // namespace bench
