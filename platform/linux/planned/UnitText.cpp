#include "platform/linux/planned/UnitText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "posix/FileUri.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view prefix = "vantrel-scan-";
constexpr std::string_view timerEnding = ".timer";
constexpr std::string_view fileScheme = "file://";
constexpr std::size_t longestId = 32;
constexpr std::array<std::string_view, 7> weekdays = {"Mon", "Tue", "Wed", "Thu",
                                                      "Fri", "Sat", "Sun"};
constexpr const char* head =
    "# Written by Vantrel. What is changed here holds until the scan is changed in Vantrel.\n"
    "[Unit]\n"
    "Description=Planned scan by Vantrel\n";

bool isId(std::string_view text) {
  return !text.empty() && text.size() <= longestId &&
         std::all_of(text.begin(), text.end(),
                     [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); });
}

std::string twoDigits(int number) {
  std::array<char, 16> text = {};
  std::snprintf(text.data(), text.size(), "%02d", number);
  return text.data();
}

std::string calendarOf(const PlannedScan& scan) {
  const std::string time = twoDigits(scan.hour) + ":" + twoDigits(scan.minute) + ":00";
  switch (scan.often) {
    case PlannedScan::Often::weekly:
      return std::string(weekdays.at(static_cast<std::size_t>(scan.day - 1))) + " *-*-* " + time;
    case PlannedScan::Often::monthly:
      return "*-*-" + twoDigits(scan.day) + " " + time;
    default:
      return "*-*-* " + time;
  }
}

// Once the program is gone, its time passes without a failure. The path stands there as it is, "%"
// apart: one with other than printed characters, or with a blank or backslash at its end, is none
// that such a line can hold.
std::string conditionFor(const std::string& program) {
  const bool isPlain =
      isValidUtf8(program) && !program.ends_with(' ') && !program.ends_with('\\') &&
      std::none_of(program.begin(), program.end(),
                   [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; });
  return isPlain ? "ConditionFileIsExecutable=" + replacingAll(program, "%", "%%") + "\n" : "";
}

// What systemd hands out over the bus has to be UTF-8: any other path travels as its URI.
std::string wordOf(const std::string& path) {
  return isValidUtf8(path) ? path : std::string(fileScheme) + percentEncodedPath(path);
}

std::optional<std::string> pathOf(const std::string& word) {
  if (word.starts_with(fileScheme)) {
    return pathOfFileUri(word);
  }
  return word.starts_with("/") ? std::optional(word) : std::nullopt;
}

// "12:30:00"
bool readTime(std::string_view text, PlannedScan& scan) {
  const auto parts = split(text, ':');
  if (parts.size() != 3 || parts[2] != "00") {
    return false;
  }
  const auto hour = numberIn<int>(parts[0]);
  const auto minute = numberIn<int>(parts[1]);
  if (!hour || !minute || *hour < 0 || *hour > 23 || *minute < 0 || *minute > 59) {
    return false;
  }
  scan.hour = *hour;
  scan.minute = *minute;
  return true;
}

bool readCommand(const std::vector<std::string>& words, PlannedScan& scan) {
  constexpr std::size_t firstPath = 5;
  if (words.size() <= firstPath || words[1] != "scan" || words[2] != "--planned" ||
      words[3] != scan.id || words[4] != "--") {
    return false;
  }
  std::vector<std::string> folders;
  for (auto word = words.begin() + firstPath; word != words.end(); ++word) {
    const auto path = pathOf(*word);
    if (!path) {
      return false;
    }
    folders.push_back(*path);
  }
  scan.folders = std::move(folders);
  return true;
}

std::string inOneLine(const std::vector<std::vector<std::string>>& commands) {
  std::string line;
  for (const auto& words : commands) {
    for (const std::string& word : words) {
      line += (line.empty() ? "" : &word == &words.front() ? "; " : " ") + word;
    }
  }
  return line;
}

}  // namespace

std::string unitName(const std::string& id, const std::string& kind) {
  return std::string(prefix) + id + "." + kind;
}

std::optional<std::string> idOfTimer(const std::string& name) {
  if (!name.starts_with(prefix) || !name.ends_with(timerEnding)) {
    return std::nullopt;
  }
  const std::string id =
      name.substr(prefix.size(), name.size() - prefix.size() - timerEnding.size());
  return isId(id) ? std::optional(id) : std::nullopt;
}

bool canBePlanned(const PlannedScan& scan) {
  using Often = PlannedScan::Often;
  const int lastDay = scan.often == Often::weekly    ? 7
                      : scan.often == Often::monthly ? PlannedScan::lastDayOfMonth
                                                     : scan.day;
  const bool hasTime = scan.often != Often::other && scan.hour >= 0 && scan.hour <= 23 &&
                       scan.minute >= 0 && scan.minute <= 59;
  const bool hasDay = scan.often == Often::daily || (scan.day >= 1 && scan.day <= lastDay);
  return hasTime && hasDay && (scan.id.empty() || isId(scan.id)) && !scan.folders.empty() &&
         std::all_of(scan.folders.begin(), scan.folders.end(), [](const std::string& folder) {
           return folder.starts_with("/") && folder.find('\0') == std::string::npos;
         });
}

std::string timerUnit(const PlannedScan& scan) {
  return head + std::string("\n[Timer]\nOnCalendar=") + calendarOf(scan) +
         "\nPersistent=true\n\n[Install]\nWantedBy=timers.target\n";
}

std::string serviceUnit(const PlannedScan& scan, const std::string& program) {
  std::string command = quotedForSystemd(program) + " scan --planned " + scan.id + " --";
  for (const std::string& folder : scan.folders) {
    command += " " + quotedForSystemd(wordOf(folder));
  }
  return head + conditionFor(program) + (scan.onlyOnMains ? "ConditionACPower=true\n" : "") +
         "\n[Service]\nType=oneshot\nExecStart=:" + command +
         "\n# 1: something was found; 143: it was ended early. Neither is a failure of the "
         "service.\n"
         "SuccessExitStatus=1 143\n"
         "# The scan itself ends what it has begun.\n"
         "KillMode=mixed\n"
         "Nice=19\nIOSchedulingClass=idle\nCPUWeight=1\nIOWeight=1\n";
}

std::string quotedForSystemd(const std::string& word) {
  std::string result = "\"";
  for (const char c : word) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      result += '\\';
      result += c;
    } else if (c == '%') {
      result += "%%";
    } else if (byte < ' ' || byte >= 0x7f) {
      std::array<char, 8> escape = {};
      std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned int>(byte));
      result += escape.data();
    } else {
      result += c;
    }
  }
  return result + "\"";
}

void readCalendar(const std::string& calendar, PlannedScan& scan) {
  scan.calendar = calendar;
  scan.often = PlannedScan::Often::other;
  const auto parts = split(calendar, ' ');
  PlannedScan read;
  if (parts.size() < 2 || parts.size() > 3 || !readTime(parts.back(), read)) {
    return;
  }
  const std::string_view date = parts[parts.size() - 2];
  if (parts.size() == 3) {
    const auto* const day = std::find(weekdays.begin(), weekdays.end(), parts[0]);
    if (day == weekdays.end() || date != "*-*-*") {
      return;
    }
    read.often = PlannedScan::Often::weekly;
    read.day = static_cast<int>(day - weekdays.begin()) + 1;
  } else if (date == "*-*-*") {
    read.often = PlannedScan::Often::daily;
  } else {
    const auto day = date.starts_with("*-*-") ? numberIn<int>(date.substr(4)) : std::nullopt;
    if (!day || *day < 1 || *day > PlannedScan::lastDayOfMonth) {
      return;
    }
    read.often = PlannedScan::Often::monthly;
    read.day = *day;
  }
  scan.often = read.often;
  scan.hour = read.hour;
  scan.minute = read.minute;
  scan.day = read.day;
}

void readCommands(const std::vector<std::vector<std::string>>& commands, const std::string& program,
                  PlannedScan& scan) {
  const bool isScan = commands.size() == 1 && readCommand(commands[0], scan);
  scan.isUnderstood = isScan && commands[0][0] == program;
  if (!scan.isUnderstood && !commands.empty()) {
    scan.otherProgram = isScan ? commands[0][0] : inOneLine(commands);
  }
}

}  // namespace quillo
