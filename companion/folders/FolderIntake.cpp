#include "companion/folders/FolderIntake.h"

#include <utility>

#include "platform/LocalizedStrings.h"
#include "platform/Page.h"

namespace quillo {
namespace {

using Doubt = ChosenFolders::Doubt;

std::string withoutSlash(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) {
    path.pop_back();
  }
  return path;
}

Wording refusalOf(const ChosenFolders::Concern& concern, const std::string& path) {
  switch (concern.doubt) {
    case Doubt::notAbsolute:
      return {"FOLDERS_NO_PATH", {path}};
    case Doubt::missing:
      return {"FOLDERS_MISSING", {path}};
    case Doubt::isFile:
      return {"FOLDERS_IS_FILE", {path}};
    case Doubt::already:
      return {"FOLDERS_ALREADY", {path}};
    case Doubt::covered:
      return {"FOLDERS_COVERED", {path, concern.other}};
    case Doubt::inQuarantine:
      return {"FOLDERS_IN_QUARANTINE", {path, concern.other}};
    default:
      return {};
  }
}

Question questionAbout(Doubt doubt, const std::string& path, LocalizedStrings& strings) {
  Question question;
  question.text = Wording{
      doubt == Doubt::everything ? "FOLDERS_ASK_EVERYTHING" : "FOLDERS_ASK_HOME",
      {path}}.in(strings);
  question.detail = strings.stringForKey("FOLDERS_ASK_MUCH", "");
  question.buttons = {strings.stringForKey("FOLDERS_GUARD_ALL", ""),
                      strings.stringForKey("FOLDERS_CANCEL", "")};
  return question;
}

}  // namespace

void FolderIntake::take(const std::vector<std::string>& paths,
                        std::function<void(const Taken&)> taken) const {
  takeNext(paths, {}, std::move(taken));
}

void FolderIntake::takeNext(std::vector<std::string> paths, Taken before,
                            std::function<void(const Taken&)> taken) const {
  while (!paths.empty()) {
    const std::string path = withoutSlash(paths.front());
    paths.erase(paths.begin());
    const ChosenFolders::Concern concern = concernAbout(path, before.folders);
    if (const Wording refusal = refusalOf(concern, path); !refusal.empty()) {
      before.refusals.push_back(refusal);
    } else if (concern.doubt == Doubt::none) {
      before.folders.push_back(path);
    } else {
      window.ask(questionAbout(concern.doubt, path, strings),
                 [intake = *this, path, paths, before, taken](std::size_t button) mutable {
                   if (button == 0) {
                     before.folders.push_back(path);
                   }
                   intake.takeNext(std::move(paths), std::move(before), std::move(taken));
                 });
      return;
    }
  }
  taken(before);
}

}  // namespace quillo
