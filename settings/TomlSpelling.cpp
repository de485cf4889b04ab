#include "settings/TomlSpelling.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "posix/PlatformException.h"

namespace quillo {

std::string tomlString(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      result += '\\';
      result += c;
    } else if (byte < 0x20 || byte == 0x7F) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(byte));
      result += escape;
    } else {
      result += c;
    }
  }
  return result + '"';
}

TomlFields tomlFields(const PreferenceDictionary& table) {
  TomlFields fields;
  for (const auto& [key, value] : table) {
    fields.push_back({key, value});
  }
  return fields;
}

std::string tomlKey(const std::string& key) {
  const bool isBare = !key.empty() && std::all_of(key.begin(), key.end(), [](unsigned char c) {
    return c < 0x80 && (std::isalnum(c) != 0 || c == '_' || c == '-');
  });
  return isBare ? key : tomlString(key);
}

std::string spelledTomlTable(const TomlFields& fields) {
  std::string text = "{";
  for (const auto& [key, value] : fields) {
    text += (text.size() > 1 ? ", " : " ") + tomlKey(key) + " = " + tomlValue(value);
  }
  return text + " }";
}

std::string tomlValue(const PreferenceValue& value) {
  if (const auto* truth = std::get_if<bool>(&value.value)) {
    return *truth ? "true" : "false";
  }
  if (const auto* number = std::get_if<std::int64_t>(&value.value)) {
    return std::to_string(*number);
  }
  if (const auto* string = std::get_if<std::string>(&value.value)) {
    return tomlString(*string);
  }
  if (const auto* table = std::get_if<PreferenceDictionary>(&value.value)) {
    return spelledTomlTable(tomlFields(*table));
  }
  const auto* array = std::get_if<PreferenceArray>(&value.value);
  if (!array || !array->empty()) {
    throw PlatformException(PlatformException::Kind::invalidArgument, "PreferenceEdit",
                            "a value of this kind cannot be written");
  }
  return "[]";
}

}  // namespace quillo
