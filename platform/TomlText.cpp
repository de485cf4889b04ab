#include "platform/TomlText.h"

#include <toml++/toml.h>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace quillo {
namespace {

PreferenceValue converted(const toml::node& node);

PreferenceArray converted(const toml::array& array) {
  PreferenceArray result;
  for (const toml::node& element : array) {
    result.push_back(converted(element));
  }
  return result;
}

PreferenceDictionary converted(const toml::table& table) {
  PreferenceDictionary result;
  for (const auto& [key, node] : table) {
    result.emplace(std::string(key.str()), converted(node));
  }
  return result;
}

template <typename T>
std::string spelled(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

PreferenceValue converted(const toml::node& node) {
  switch (node.type()) {
    case toml::node_type::table:
      return {converted(*node.as_table())};
    case toml::node_type::array:
      return {converted(*node.as_array())};
    case toml::node_type::string:
      return {node.as_string()->get()};
    case toml::node_type::integer:
      return {node.as_integer()->get()};
    case toml::node_type::floating_point:
      return {node.as_floating_point()->get()};
    case toml::node_type::boolean:
      return {node.as_boolean()->get()};
    case toml::node_type::date:
      return {spelled(node.as_date()->get())};
    case toml::node_type::time:
      return {spelled(node.as_time()->get())};
    case toml::node_type::date_time:
      return {spelled(node.as_date_time()->get())};
    default:
      return {std::string()};
  }
}

bool sameArrays(const PreferenceArray& one, const PreferenceArray& other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(), sameValue);
}

}  // namespace

TomlText TomlText::parse(const std::string& text) {
  TomlText result;
  try {
    result.values = converted(toml::parse(text));
  } catch (const toml::parse_error& error) {
    const toml::source_position at = error.source().begin;
    result.problem = Problem{at.line, at.column, std::string(error.description())};
  }
  return result;
}

bool sameValues(const PreferenceDictionary& one, const PreferenceDictionary& other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](const auto& left, const auto& right) {
                      return left.first == right.first && sameValue(left.second, right.second);
                    });
}

bool sameValue(const PreferenceValue& one, const PreferenceValue& other) {
  if (one.value.index() != other.value.index()) {
    return false;
  }
  if (const auto* array = std::get_if<PreferenceArray>(&one.value)) {
    return sameArrays(*array, std::get<PreferenceArray>(other.value));
  }
  if (const auto* table = std::get_if<PreferenceDictionary>(&one.value)) {
    return sameValues(*table, std::get<PreferenceDictionary>(other.value));
  }
  if (const auto* real = std::get_if<double>(&one.value)) {
    const double second = std::get<double>(other.value);
    return *real == second || (std::isnan(*real) && std::isnan(second));
  }
  if (const auto* truth = std::get_if<bool>(&one.value)) {
    return *truth == std::get<bool>(other.value);
  }
  if (const auto* number = std::get_if<std::int64_t>(&one.value)) {
    return *number == std::get<std::int64_t>(other.value);
  }
  return std::get<std::string>(one.value) == std::get<std::string>(other.value);
}

}  // namespace quillo
