#pragma once

#include <string>
#include <utility>
#include <vector>

namespace bench {

// How often one guard named the file of one way, and of how many rounds.
struct Tally {
  int found = 0;
  int rounds = 0;
};

// Returns "yes", "no", or "2 of 3" where the rounds were not at one; "-" without a round.
std::string cellOf(const Tally& tally);

struct CoverageRow {
  std::string way;
  // One for each guard, in their order; those that are not there have no round.
  std::vector<Tally> tallies;
  // Why this machine has no such file system, say; empty when it could be tried.
  std::string unavailable;
};

struct CoverageTable {
  // What was measured on and with, as pairs of a name and a value.
  std::vector<std::pair<std::string, std::string>> machine;
  std::vector<std::string> guards;
  std::vector<CoverageRow> rows;
  std::vector<std::string> notes;
};

// The table for people, and as one JSON document; bytes that are not UTF-8 become replacement
// characters. Pure; any thread.
std::string markdownOf(const CoverageTable& table);
std::string jsonOf(const CoverageTable& table);

}  // namespace bench
