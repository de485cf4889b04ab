#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace bench {

using Milliseconds = std::chrono::duration<double, std::milli>;

// Time since an arbitrary start.
Milliseconds now();
// Does nothing for so long.
void pause(Milliseconds length);

// Several measurements of one thing, as one line: median, least and greatest.
void print(const std::string& what, std::vector<double> values, const std::string& unit);
// The value below which that share of them lies.
double quantile(std::vector<double> values, double share);

// What processes have used so far, each with all its threads (proc(5)).
double processorMilliseconds(const std::vector<pid_t>& processes);
// How often one of their threads waited and was woken.
double wakeUps(const std::vector<pid_t>& processes);
// Every process of that name, and those that they have started.
std::vector<pid_t> familyOf(const std::string& name);

}  // namespace bench
