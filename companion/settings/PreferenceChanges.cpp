#include "companion/settings/PreferenceChanges.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/AgentLink.h"
#include "platform/PreferenceStore.h"
#include "platform/Session.h"
#include "posix/Text.h"
#include "settings/PreferenceTable.h"

namespace quillo {
namespace {

using Problem = PreferenceWriter::Problem;

const char* keyOf(Problem problem) {
  switch (problem) {
    case Problem::notToml:
      return "SETTINGS_FILE_BROKEN";
    case Problem::notEditable:
      return "SETTINGS_FILE_NOT_EDITABLE";
    case Problem::noRoom:
      return "SETTINGS_FILE_NO_ROOM";
    case Problem::readOnly:
      return "SETTINGS_FILE_READ_ONLY";
    case Problem::forbidden:
      return "SETTINGS_FILE_FORBIDDEN";
    case Problem::notOwn:
      return "SETTINGS_FILE_NOT_OWN";
    case Problem::noFile:
      return "SETTINGS_FILE_NO_FILE";
    case Problem::tooLarge:
      return "SETTINGS_FILE_TOO_LARGE";
    case Problem::alwaysOther:
      return "SETTINGS_FILE_BUSY";
    case Problem::changedSince:
      return "SETTINGS_UNDO_TOO_LATE";
    default:
      return "SETTINGS_FILE_FAILED";
  }
}

}  // namespace

bool wasStoppedByItsUser(const AgentLink& agent) {
  const auto status = agent.status();
  // What else keeps it from watching may be mended by what is changed.
  const char* const obstacles[] = {"noEngine", "noPreferences", "engineFails"};
  return status && status->state == "stopped" &&
         std::find(std::begin(obstacles), std::end(obstacles), status->attention) ==
             std::end(obstacles);
}

Wording wordingOf(const PreferenceWriter::Outcome& outcome, const std::string& file) {
  if (outcome.problem == Problem::none) {
    return {};
  }
  if (outcome.problem == Problem::notOwn) {
    return {keyOf(outcome.problem), {file, outcome.reason, std::to_string(outcome.owner)}};
  }
  const bool hasReason =
      outcome.problem == Problem::notEditable || outcome.problem == Problem::failed;
  return {keyOf(outcome.problem), hasReason ? std::vector<std::string>{file, outcome.reason}
                                            : std::vector<std::string>{file}};
}

Wording PreferenceChanges::apply(const PreferenceWriter::Change& change, Of page) {
  const PreferenceWriter::Outcome outcome = services_.writer.apply(change);
  last_ = outcome.isWritten ? page : last_;
  wasMerged_ = outcome.problem == Problem::none && outcome.wasChangedByHand;
  if (outcome.problem == Problem::none) {
    takeEffect();
  } else if (outcome.wasChangedByHand) {
    services_.preferenceStore.synchronize();
    callObservers();
  }
  return wordingOf(outcome, ownFile());
}

Wording PreferenceChanges::set(const std::string& key, const PreferenceValue& value) {
  return apply([&](TomlEditor& editor) { editor.set(key, value); });
}

Wording PreferenceChanges::remove(const std::string& key) {
  return apply([&](TomlEditor& editor) { editor.remove(key); });
}

Wording PreferenceChanges::takeNotice() {
  return std::exchange(wasMerged_, false) ? Wording{"SETTINGS_MERGED", {ownFile()}} : Wording();
}

Wording PreferenceChanges::undo() {
  const PreferenceWriter::Outcome outcome = services_.writer.undo();
  wasMerged_ = false;
  if (outcome.problem == Problem::none) {
    takeEffect();
  } else {
    lookAgain();
  }
  return wordingOf(outcome, ownFile());
}

std::optional<PreferenceValue> PreferenceChanges::inForce(const std::string& key) const {
  return services_.preferenceStore.objectForKey(key);
}

void PreferenceChanges::takeEffect() {
  services_.preferenceStore.synchronize();
  if (!wasStoppedByItsUser(services_.agent)) {
    services_.distributedNotificationCenter.post("VantrelQuilloShouldRestart", "Vantrel");
  }
  callObservers();
}

void PreferenceChanges::callObservers() {
  for (const auto& observer : observers_) {
    observer();
  }
}

bool PreferenceChanges::lookAgain() {
  const bool isOther = services_.writer.wasChangedByHand();
  services_.writer.read();
  services_.preferenceStore.synchronize();
  if (isOther) {
    callObservers();
  }
  return isOther;
}

Wording PreferenceChanges::problem() {
  const PreferenceWriter::Reading reading = services_.writer.look();
  canRepair_ = reading.problem == Problem::notToml;
  if (canRepair_) {
    return {"SETTINGS_FILE_BROKEN_AT",
            {ownFile(), std::to_string(reading.line), reading.lineText, reading.reason}};
  }
  return wordingOf({reading.problem, reading.reason, reading.owner}, ownFile());
}

Wording PreferenceChanges::repair() {
  const PreferenceWriter::Repair repair = services_.writer.repair();
  if (repair.outcome.problem == Problem::notToml) {
    return {"SETTINGS_REPAIR_FAILED", {ownFile()}};
  }
  if (repair.outcome.problem != Problem::none) {
    return wordingOf(repair.outcome, ownFile());
  }
  takeEffect();
  if (repair.setAside.empty()) {
    return {};
  }
  std::string lines;
  for (const std::size_t line : repair.lines) {
    lines += (lines.empty() ? "" : ", ") + std::to_string(line);
  }
  return {"SETTINGS_REPAIRED", {repair.setAside, lines}};
}

bool PreferenceChanges::decidesAboveOwn(const std::string& file) const {
  // The agent's own domain goes first, whoever wrote it: the user or the machine's owner.
  return lastPathComponent(file) != lastPathComponent(ownFile());
}

std::string PreferenceChanges::fileAbove(const std::string& key) const {
  const std::string file = services_.preferenceStore.fileThatHas(key);
  return !file.empty() && decidesAboveOwn(file) ? file : "";
}

std::string PreferenceChanges::fileBelow(const std::string& key) const {
  const std::string file = services_.preferenceStore.fileThatHas(key);
  return !file.empty() && file != ownFile() && !decidesAboveOwn(file) ? file : "";
}

}  // namespace quillo
