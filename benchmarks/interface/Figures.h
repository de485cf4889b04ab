#pragma once

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

}  // namespace bench
