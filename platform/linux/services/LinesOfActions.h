#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace quillo {

// How the lines begin that log one action each: a restart, a sleep, a start of the daemon, an
// end of the helper. Somebody may count them, so the log has every one.
inline constexpr std::array<std::string_view, 44> linesOfActions = {
    "We're currently watching for changes, so stop and then register",
    "Nighty night!",
    "Wakey wakey!",
    "restartWatcher",
    "trying to quit clamd",
    "Could not bring the application to front. Error ",
    "scan email files",
    "do NOT scan email files",
    "Will use as many processor cores as possible for scanning",
    "I will delete infected files",
    "I will quarantine infected files",
    "clamd not running. Now trying to launch it...",
    "ClamAV installation couldn't be found.  Quitting now.",
    "clamd couldn't be launched.  Quitting now.",
    "clamd launched successfully.  Continuing...",
    "clamdconfEncoding: ",
    "Please email this line to ",
    "One of the volumes we're supposed to be watching has just appeared",
    "The volume ",
    "attempting to terminate gfslogger",
    "termination status = ",
    "Authentication failed. Sorry!",
    "InvalidArgumentException",
    "launch path not accessible",
    "LaunchFailure",
    "cannot launch ",
    "PipeFailure",
    "cannot create a pipe",
    "SpotlightWatcher did NOT crash, don't worry: at numLinesOffset = ",
    "Yikes! We just caught a crash.  Here's why ",
    "can't connect to clamd",
    "Error loading nib for warning dialog!",
    "Error loading Nib for document!",
    "Scanner task still running but performScan was about to exit!",
    "Scanner: Caught ",
    "Scanner v",
    "Hold on to your hats, I think we're about to crash - outputPipe is null",
    "Looks like trying again for another outputPipe worked!",
    "Nope, retry failed - outputPipe is still null",
    "All bets are off - we're crashing - taskOutput is null",
    "Looks like trying again for another taskOutput worked!",
    "Yet again, retrying failed - taskOutput is still null",
    "giving up on clamd, which has not started",
    "clamd cannot be restarted",
};

constexpr bool logsAnAction(std::string_view line) {
  return std::any_of(linesOfActions.begin(), linesOfActions.end(),
                     [line](std::string_view beginning) { return line.starts_with(beginning); });
}

}  // namespace quillo
