#include "benchmarks/coverage/CoverageTable.h"

#include <map>
#include <nlohmann/json.hpp>

namespace bench {
namespace {

std::string escapedCell(const std::string& text) {
  std::string escaped;
  for (const char byte : text) {
    if (byte == '|') {
      escaped += '\\';
    }
    escaped += byte == '\n' ? ' ' : byte;
  }
  return escaped;
}

std::string lineOf(const std::vector<std::string>& cells) {
  std::string line = "|";
  for (const std::string& cell : cells) {
    line += " " + escapedCell(cell) + " |";
  }
  return line + "\n";
}

std::string headOf(const CoverageTable& table) {
  std::vector<std::string> head{"How a file comes to be"};
  head.insert(head.end(), table.guards.begin(), table.guards.end());
  std::string rule = "|";
  for (std::size_t column = 0; column < head.size(); ++column) {
    rule += "---|";
  }
  return lineOf(head) + rule + "\n";
}

std::string rowOf(const CoverageRow& row, std::size_t guards) {
  std::vector<std::string> cells{row.way};
  for (std::size_t guard = 0; guard < guards; ++guard) {
    const Tally tally = guard < row.tallies.size() ? row.tallies[guard] : Tally();
    cells.push_back(row.unavailable.empty() ? cellOf(tally) : "not to be had here");
  }
  return lineOf(cells);
}

// One line for each reason, with all that it keeps from being tried.
std::string reasonsOf(const std::vector<CoverageRow>& rows) {
  std::map<std::string, std::string> ways;
  for (const CoverageRow& row : rows) {
    if (!row.unavailable.empty()) {
      std::string& listed = ways[row.unavailable];
      listed += (listed.empty() ? "" : "; ") + row.way;
    }
  }
  std::string lines;
  for (const auto& [reason, listed] : ways) {
    lines += "- Not to be had here: " + listed + " (" + reason + ")\n";
  }
  return lines;
}

}  // namespace

std::string cellOf(const Tally& tally) {
  if (tally.rounds == 0) {
    return "-";
  }
  if (tally.found == tally.rounds) {
    return "yes";
  }
  return tally.found == 0 ? "no"
                          : std::to_string(tally.found) + " of " + std::to_string(tally.rounds);
}

std::string markdownOf(const CoverageTable& table) {
  std::string text;
  for (const auto& [name, value] : table.machine) {
    text += "- " + name + ": " + value + "\n";
  }
  text += "\n" + headOf(table);
  for (const CoverageRow& row : table.rows) {
    text += rowOf(row, table.guards.size());
  }
  std::string below;
  for (const std::string& note : table.notes) {
    below += "- " + note + "\n";
  }
  below += reasonsOf(table.rows);
  return text + (below.empty() ? "" : "\n" + below);
}

std::string jsonOf(const CoverageTable& table) {
  nlohmann::ordered_json document;
  document["machine"] = nlohmann::ordered_json::object();
  for (const auto& [name, value] : table.machine) {
    document["machine"][name] = value;
  }
  document["guards"] = table.guards;
  document["rows"] = nlohmann::ordered_json::array();
  for (const CoverageRow& row : table.rows) {
    nlohmann::ordered_json entry;
    entry["way"] = row.way;
    if (!row.unavailable.empty()) {
      entry["unavailable"] = row.unavailable;
    } else {
      entry["found"] = nlohmann::ordered_json::array();
      entry["rounds"] = nlohmann::ordered_json::array();
      for (const Tally& tally : row.tallies) {
        entry["found"].push_back(tally.found);
        entry["rounds"].push_back(tally.rounds);
      }
    }
    document["rows"].push_back(std::move(entry));
  }
  document["notes"] = table.notes;
  return document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace bench
