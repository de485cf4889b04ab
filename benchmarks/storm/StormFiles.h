#pragma once

#include <string>
#include <vector>

#include "benchmarks/storm/Processes.h"

namespace bench {

inline constexpr int fileCount = 10000;
inline constexpr int infectedCount = 10;

// Writes 10,000 files of 1 KB into the folder, ten of them (spread evenly) the EICAR test file, as
// the ordinary user; returns the time that it took.
Seconds writeStorm(const std::string& folder);
// The paths that writeStorm() wrote.
std::vector<std::string> stormPaths(const std::string& folder);
// A tree of so many empty folders, for the cost of beginning to watch.
void makeWideTree(const std::string& folder, int folders);
void makeOrdinaryFolder(const std::string& folder);
void writeFile(const std::string& path, const std::string& contents);

}  // namespace bench
