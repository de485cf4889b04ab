#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/PlannedScans.h"

namespace quillo {

// A planned scan as units of systemd (systemd.timer(5), systemd.service(5)). Pure functions; any
// thread.

// Returns the name of its timer or service, by its id and "timer" or "service".
std::string unitName(const std::string& id, const std::string& kind);
// Returns the id in the name of a timer; nothing unless it is one of ours.
std::optional<std::string> idOfTimer(const std::string& name);

// Returns true when a scan can be planned: its time is one, and it has folders, all absolute.
bool canBePlanned(const PlannedScan& scan);
// Return the text of its units; `program` is the absolute path of what scans.
std::string timerUnit(const PlannedScan& scan);
std::string serviceUnit(const PlannedScan& scan, const std::string& program);

// Returns one word of a command line for systemd, in quotes: the words that systemd takes out of it
// are these bytes (systemd.syntax(7), "Quoting"; "%" as systemd.unit(5) has it). Variables are not
// considered: the line begins with ":".
std::string quotedForSystemd(const std::string& word);

// Fills in how often, when and on which day out of what systemd makes of the times
// (systemd.time(7), "Calendar Events", in its normal form); anything that timerUnit() does not
// write is `other`.
void readCalendar(const std::string& calendar, PlannedScan& scan);
// Fills in the folders out of the commands that the service runs, of each the program first, and
// whether that is what serviceUnit() writes for that id and `program`. Where only the program is
// another, the folders are known and the scan is not understood.
void readCommands(const std::vector<std::vector<std::string>>& commands, const std::string& program,
                  PlannedScan& scan);

}  // namespace quillo
