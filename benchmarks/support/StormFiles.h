#pragma once

#include <string>
#include <vector>

#include "benchmarks/support/Processes.h"

namespace bench {

// Files that are written all at once, most of 1 KB, some of them (spread evenly) the EICAR test
// file.
struct Storm {
  std::string name;
  int files = 10000;
  int infected = 10;
  int folders = 0;     // new and nested ten deep; 0 has all files in the one that is there
  Seconds holding{0};  // between a file's opening and its writing
};

inline const Storm tenThousandFiles{"10,000 files", 10000, 10, 0, Seconds(0)};

// Writes them into the folder, as the ordinary user; returns the time that it took. Throws
// std::runtime_error.
Seconds writeStorm(const std::string& folder, const Storm& storm = tenThousandFiles);
// The paths that writeStorm() wrote.
std::vector<std::string> stormPaths(const std::string& folder,
                                    const Storm& storm = tenThousandFiles);

// The EICAR test file, as long as asked for.
std::string infectedContents(std::size_t bytes = 0);
// A tree of so many empty folders, for the cost of beginning to watch.
void makeWideTree(const std::string& folder, int folders);
void makeOrdinaryFolder(const std::string& folder);
void writeFile(const std::string& path, const std::string& contents);

}  // namespace bench
