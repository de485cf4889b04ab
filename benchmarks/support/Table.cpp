#include "benchmarks/support/Table.h"

#include <nlohmann/json.hpp>

namespace bench {
namespace {

// A bar would end the cell.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char character : text) {
    if (character == '|') {
      result += '\\';
    }
    result += character == '\n' ? ' ' : character;
  }
  return result;
}

std::string textOf(const Cell& cell) {
  const auto* samples = std::get_if<Samples>(&cell);
  return samples != nullptr ? inWords(*samples) : escaped(std::get<std::string>(cell));
}

void addLine(std::string& text, const std::vector<std::string>& cells) {
  text += '|';
  for (const std::string& cell : cells) {
    text += ' ' + cell + " |";
  }
  text += '\n';
}

void add(std::string& text, const Table& table) {
  text += "## " + table.title + "\n\n";
  if (!table.about.empty()) {
    text += table.about + "\n\n";
  }
  std::vector<std::string> line;
  for (const std::string& column : table.columns) {
    line.push_back(escaped(column));
  }
  addLine(text, line);
  line.assign(table.columns.size(), "---");
  addLine(text, line);
  for (const Table::Row& row : table.rows) {
    line.assign(1, escaped(row.name));
    for (const Cell& cell : row.cells) {
      line.push_back(textOf(cell));
    }
    addLine(text, line);
  }
  text += '\n';
  for (const std::string& note : table.notes) {
    text += "- " + note + '\n';
  }
  if (!table.notes.empty()) {
    text += '\n';
  }
}

nlohmann::ordered_json jsonOf(const Cell& cell) {
  const auto* samples = std::get_if<Samples>(&cell);
  if (samples == nullptr) {
    return std::get<std::string>(cell);
  }
  if (samples->empty()) {
    return nullptr;
  }
  return {{"median", samples->median()},
          {"least", samples->least()},
          {"greatest", samples->greatest()},
          {"values", samples->values()}};
}

nlohmann::ordered_json jsonOf(const Table& table) {
  nlohmann::ordered_json rows = nlohmann::ordered_json::array();
  for (const Table::Row& row : table.rows) {
    nlohmann::ordered_json cells;
    cells[table.columns.front()] = row.name;
    for (std::size_t index = 0; index < row.cells.size(); ++index) {
      cells[table.columns.at(index + 1)] = jsonOf(row.cells[index]);
    }
    rows.push_back(std::move(cells));
  }
  return {{"title", table.title}, {"about", table.about}, {"rows", rows}, {"notes", table.notes}};
}

}  // namespace

std::string markdown(const std::vector<Table>& tables) {
  std::string text;
  for (const Table& table : tables) {
    add(text, table);
  }
  return text;
}

std::string json(const std::vector<Table>& tables) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const Table& table : tables) {
    all.push_back(jsonOf(table));
  }
  // A name that is no UTF-8 is told with marks rather than not at all.
  return all.dump(1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace bench
