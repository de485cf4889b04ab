#include "companion/quarantine/QuarantineCommand.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>

#include "clamav/Verdict.h"
#include "companion/CommandWords.h"
#include "companion/quarantine/QuarantineWords.h"
#include "platform/LocalizedStrings.h"

namespace quillo {
namespace {

using Json = nlohmann::ordered_json;
using Check = QuarantineRecord::Check;

constexpr int jsonVersion = 1;
constexpr int statusSomeNot = 1;
constexpr int statusCannot = 2;
constexpr char usage[] =
    "quarantine list [FILE...] [--json]\n"
    "quarantine restore FILE...|--all [--to FOLDER] [--make-folder] [--json]\n"
    "quarantine delete FILE...|--all [--json]\n"
    "quarantine check [FILE...|--all] [--json]";

enum class Action { list, restore, remove, check };

struct Asked {
  Action action = Action::list;
  std::vector<std::string> files;
  QuarantineStore::Target target;
  bool isAll = false;
  bool asJson = false;
};

constexpr std::array<std::pair<const char*, Action>, 4> actions = {{{"list", Action::list},
                                                                    {"restore", Action::restore},
                                                                    {"delete", Action::remove},
                                                                    {"check", Action::check}}};

std::optional<Action> actionNamed(const std::string& name) {
  for (const auto& [known, action] : actions) {
    if (name == known) {
      return action;
    }
  }
  return std::nullopt;
}

const char* nameOf(Action action) { return actions.at(static_cast<std::size_t>(action)).first; }

std::optional<Asked> understood(const std::vector<std::string>& words) {
  const auto action = words.empty() ? std::nullopt : actionNamed(words.front());
  if (!action) {
    return std::nullopt;
  }
  Asked asked;
  asked.action = *action;
  const auto take = [&asked](const std::vector<std::string>& options, std::size_t& at) {
    const bool restores = asked.action == Action::restore;
    if (options[at] == "--all" && asked.action != Action::list) {
      asked.isAll = true;
    } else if (options[at] == "--make-folder" && restores) {
      asked.target.makeFolder = true;
    } else if (options[at] == "--to" && restores && at + 1 < options.size() &&
               !options[at + 1].empty()) {
      asked.target.folder = absolutePath(options[++at]);
    } else {
      return false;
    }
    return true;
  };
  const auto rest = commandWordsOf({words.begin() + 1, words.end()}, take);
  if (!rest) {
    return std::nullopt;
  }
  asked.asJson = rest->asJson;
  asked.files = rest->operands;
  // Some files or all of them, and not both; what changes nothing may go without.
  const bool isHarmless = asked.action == Action::list || asked.action == Action::check;
  const bool isTwice = asked.isAll && !asked.files.empty();
  const bool isMeant = isHarmless || asked.isAll || !asked.files.empty();
  return isMeant && !isTwice ? std::optional(asked) : std::nullopt;
}

std::string isoTime(QuarantineRecord::Time time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::array<char, 32> buffer;
  std::tm utc = {};
  return gmtime_r(&seconds, &utc) &&
                 std::strftime(buffer.data(), buffer.size(), "%Y-%m-%dT%H:%M:%SZ", &utc) > 0
             ? buffer.data()
             : "";
}

// Definitions whose time is not known are none but the built-in one.
Json timeOrNull(QuarantineRecord::Time time) {
  return time == QuarantineRecord::Time() ? Json() : Json(isoTime(time));
}

Json jsonOf(const QuarantinedFile& file, const QuarantineStore& store) {
  Json json = {{"name", reportedText(file.name)},
               {"path", reportedText(store.pathOf(file))},
               {"size", file.identity.size},
               {"record", nameOf(file.origin)}};
  if (file.hasRecord()) {
    const QuarantineRecord& record = file.record;
    json["origin"] = record.origin.empty() ? Json() : Json(reportedText(record.origin));
    json["threat"] = reportedText(record.threat);
    json["moved"] = isoTime(record.moved);
    json["sha256"] = record.hash;
    json["check"] = nameOf(record.check);
    json["definitions"] = record.check == Check::never ? Json() : timeOrNull(record.checkedWith);
  }
  return json;
}

// How a word may name a file: as it is, or as it is reported.
enum class Spelling { exact, reported };

bool isMeant(const std::string& word, const QuarantinedFile& file, const QuarantineStore& store,
             Spelling spelling) {
  for (const std::string& name :
       {file.name, store.pathOf(file), file.knowsOrigin() ? file.record.origin : std::string()}) {
    if (!name.empty() && word == (spelling == Spelling::exact ? name : reportedText(name))) {
      return true;
    }
  }
  return false;
}

// By the reported spelling only where there is no such name: another file may bear it as its own.
std::vector<QuarantinedFile> meantBy(const std::string& word,
                                     const std::vector<QuarantinedFile>& files,
                                     const QuarantineStore& store) {
  std::vector<QuarantinedFile> meant;
  for (const Spelling spelling : {Spelling::exact, Spelling::reported}) {
    std::copy_if(files.begin(), files.end(), std::back_inserter(meant),
                 [&](const QuarantinedFile& file) { return isMeant(word, file, store, spelling); });
    if (!meant.empty()) {
      break;
    }
  }
  return meant;
}

// One call of the command.
class Run {
 public:
  Run(const Asked& asked, std::ostream& out, std::ostream& errors,
      const QuarantineServices& services)
      : asked_(asked),
        out_(out),
        errors_(errors),
        services_(services),
        words_(services.localizedStrings),
        store_(services.folder(), services.clock, services.allow) {}

  int perform() {
    const QuarantineStore::Listing listing = store_.list();
    json_ = {{"version", jsonVersion},
             {"command", "quarantine"},
             {"action", nameOf(asked_.action)},
             {"folder", reportedText(store_.folder())},
             {"problem", nameOf(listing.problem)},
             {"files", Json::array()}};
    if (listing.problem != QuarantineStore::FolderProblem::none) {
      errors_ << words_.problem(listing, store_.folder()) << "\n";
      status_ = statusCannot;
    } else {
      act(chosenOf(listing.files));
    }
    if (asked_.asJson) {
      out_ << json_.dump(2) << "\n";
    }
    return status_;
  }

 private:
  // What no word means is an outcome like any other, and so is what several could be meant by: one
  // of them might be gone for good.
  std::vector<QuarantinedFile> chosenOf(const std::vector<QuarantinedFile>& files) {
    if (asked_.files.empty()) {
      return files;
    }
    std::vector<QuarantinedFile> chosen;
    for (const std::string& word : asked_.files) {
      const std::vector<QuarantinedFile> meant = meantBy(word, files, store_);
      const bool isFinal = asked_.action == Action::restore || asked_.action == Action::remove;
      if (meant.empty() || (isFinal && meant.size() > 1)) {
        refuse(word, meant);
        continue;
      }
      for (const QuarantinedFile& file : meant) {
        const bool isTwice =
            std::any_of(chosen.begin(), chosen.end(),
                        [&file](const QuarantinedFile& other) { return other.name == file.name; });
        if (!isTwice) {
          chosen.push_back(file);
        }
      }
    }
    return chosen;
  }

  void refuse(const std::string& word, const std::vector<QuarantinedFile>& meant) {
    status_ = statusSomeNot;
    if (meant.empty()) {
      report({{"name", reportedText(word)}, {"outcome", "gone"}}, word, words_.text("NOT_THERE"),
             false);
      return;
    }
    std::string names;
    for (const QuarantinedFile& file : meant) {
      names += (names.empty() ? "" : ", ") + reportedText(file.name);
    }
    report({{"name", reportedText(word)}, {"outcome", "ambiguous"}}, word,
           Wording{"QUARANTINE_SEVERAL_MEANT", {names}}.in(services_.localizedStrings), false);
  }

  void act(const std::vector<QuarantinedFile>& files) {
    switch (asked_.action) {
      case Action::check:
        check(files);
        break;
      case Action::list:
        for (const QuarantinedFile& file : files) {
          list(file);
        }
        break;
      default:
        for (const QuarantinedFile& file : files) {
          finish(file, asked_.action == Action::restore ? store_.restore(file, asked_.target)
                                                        : store_.remove(file));
        }
    }
  }

  void list(const QuarantinedFile& file) {
    report(jsonOf(file, store_), file.name,
           words_.moved(file) + "  " + words_.size(file.identity.size) + "  " +
               reportedText(words_.threat(file)) + "  " + reportedText(words_.origin(file)) + "  " +
               words_.state(file),
           true);
  }

  void finish(const QuarantinedFile& file, const QuarantineOutcome& outcome) {
    const bool isDeleted = outcome.isDone() && asked_.action == Action::remove;
    Json json = jsonOf(file, store_);
    json["outcome"] = nameOf(outcome.reason);
    json["target"] = isDeleted ? "" : reportedText(outcome.path);
    if (outcome.error != 0) {
      json["error"] = std::strerror(outcome.error);
    }
    json["attributesKept"] = outcome.areAttributesKept;
    report(json, file.name, isDeleted ? words_.text("DELETED") : words_.outcome(outcome),
           outcome.isDone());
    if (!outcome.isDone()) {
      status_ = statusSomeNot;
    }
  }

  void check(const std::vector<QuarantinedFile>& files) {
    const auto definitions = services_.definitions();
    const QuarantineCheckResult result = services_.check(store_, files, definitions);
    if (!result.problem.empty()) {
      json_["problem"] = nameOf(QuarantineStore::FolderProblem::failed);
      errors_ << Wording{"QUARANTINE_CHECK_FAILED", {result.problem}}.in(services_.localizedStrings)
              << "\n";
      status_ = statusCannot;
      return;
    }
    for (const auto& checked : result.files) {
      Json json = jsonOf(checked.file, store_);
      json["check"] = nameOf(checked.check);
      json["definitions"] = timeOrNull(definitions);
      json["detail"] = reportedText(checked.detail);
      const bool isScanned = checked.check != Check::notScanned;
      const std::string key = checked.check == Check::clean ? "QUARANTINE_CHECKED_CLEAN"
                              : isScanned                   ? "QUARANTINE_CHECKED_INFECTED"
                                                            : "QUARANTINE_CHECKED_NOT";
      report(json, checked.file.name,
             Wording{key, {reportedText(checked.detail)}}.in(services_.localizedStrings),
             isScanned);
      if (!isScanned) {
        status_ = statusSomeNot;
      }
    }
  }

  void report(const Json& json, const std::string& name, const std::string& words, bool isWell) {
    json_["files"].push_back(json);
    if (!asked_.asJson) {
      (isWell ? out_ : errors_) << reportedText(name) << ": " << words << "\n";
    }
  }

  const Asked& asked_;
  std::ostream& out_;
  std::ostream& errors_;
  const QuarantineServices& services_;
  const QuarantineWords words_;
  const QuarantineStore store_;
  Json json_;
  int status_ = 0;
};

}  // namespace

int runQuarantineCommand(const std::vector<std::string>& words, std::ostream& out,
                         std::ostream& errors, const QuarantineServices& services) {
  const auto asked = understood(words);
  if (!asked) {
    return showUsage(errors, usage);
  }
  return Run(*asked, out, errors, services).perform();
}

}  // namespace quillo
