#include "companion/folders/ExclusionList.h"

#include "platform/LocalizedStrings.h"

namespace quillo {
namespace {

using Doubt = Exclusions::Doubt;

bool isSame(const ExcludePattern& one, const ExcludePattern& other) {
  return one.text == other.text && one.isRegEx == other.isRegEx;
}

// What cannot be added at all.
bool isRefused(Doubt doubt) {
  return doubt == Doubt::empty || doubt == Doubt::notCompiled || doubt == Doubt::notText;
}

// What it does once it is in the list.
Wording effectOf(const ExcludePattern& pattern) {
  return {!pattern.isEnabled ? "FOLDERS_PATTERN_NOT_IN_USE"
          : pattern.isRegEx  ? "FOLDERS_EXPRESSION_ADDED"
                             : "FOLDERS_PATTERN_ADDED",
          {pattern.text}};
}

}  // namespace

ExclusionList::ExclusionList(Page& page, MainWindow& window, const Services& services)
    : page_(page), window_(window), services_(services) {
  page_.setRows(
      "exclusions",
      {text("FOLDERS_COLUMN_PATTERN"), text("FOLDERS_COLUMN_KIND"), text("FOLDERS_COLUMN_IN_USE")},
      rows_);
  page_.setChecked("isInUse", true);
  page_.onSelection("exclusions", [this] { showSelected(); });
  page_.onAction("pattern", [this] { showConcern(); });
  page_.onAction("isExpression", [this] { showConcern(); });
  page_.onAction("isInUse", [this] { showConcern(); });
  page_.onAction("addPattern", [this] { add(patternInField()); });
  page_.onAction("changePattern", [this] { changeSelected(); });
  page_.onAction("removePattern", [this] { removeSelected(); });
}

std::string ExclusionList::text(const std::string& key) const {
  return services_.localizedStrings.stringForKey(key, "");
}

void ExclusionList::show(bool isEditable) {
  isEditable_ = isEditable;
  patterns_ = services_.exclusions.all();
  rows_->rows.clear();
  for (const ExcludePattern& pattern : patterns_) {
    const Exclusions::Concern concern = services_.exclusions.concernAbout(pattern);
    const bool isBroken = isRefused(concern.doubt);
    rows_->rows.push_back(
        {{pattern.text, text(pattern.isRegEx ? "FOLDERS_EXPRESSION" : "FOLDERS_TEXT"),
          text(isBroken            ? "FOLDERS_WITHOUT_EFFECT"
               : pattern.isEnabled ? "FOLDERS_YES"
                                   : "FOLDERS_NO")},
         isBroken ? TableRows::Sign::warning : TableRows::Sign::none});
  }
  page_.rowsChanged("exclusions");
  showSelected();
}

void ExclusionList::showSelected() {
  const std::vector<std::size_t> rows = page_.selectedRows("exclusions");
  const bool isOne = rows.size() == 1 && rows.front() < patterns_.size();
  selected_ = isOne ? std::optional(rows.front()) : std::nullopt;
  if (selected_) {
    const ExcludePattern& pattern = patterns_[*selected_];
    page_.setText("pattern", pattern.text);
    page_.setChecked("isExpression", pattern.isRegEx);
    page_.setChecked("isInUse", pattern.isEnabled);
  }
  showConcern();
}

ExcludePattern ExclusionList::patternInField() {
  return {page_.text("pattern"), page_.isChecked("isExpression"), page_.isChecked("isInUse")};
}

void ExclusionList::showConcern() {
  const ExcludePattern pattern = patternInField();
  const Exclusions::Concern concern = services_.exclusions.concernAbout(pattern);
  const bool isTheSelected = selected_ && isSame(patterns_[*selected_], pattern);
  const bool isSaid = !pattern.text.empty() && !(concern.doubt == Doubt::already && isTheSelected);
  page_.setText("patternNote", isSaid ? wordingOf(concern).in(services_.localizedStrings) : "");
  page_.setEnabled("addPattern",
                   isEditable_ && !isRefused(concern.doubt) && concern.doubt != Doubt::already);
  page_.setEnabled("changePattern", isEditable_ && selected_ && !isRefused(concern.doubt));
  page_.setEnabled("removePattern", isEditable_ && selected_);
}

Wording ExclusionList::wordingOf(const Exclusions::Concern& concern) const {
  switch (concern.doubt) {
    case Doubt::empty:
      return {"FOLDERS_PATTERN_EMPTY", {}};
    case Doubt::notCompiled:
      return {"FOLDERS_PATTERN_BROKEN", {concern.detail}};
    case Doubt::notText:
      return {"FOLDERS_PATTERN_NO_TEXT", {}};
    case Doubt::already:
      return {"FOLDERS_PATTERN_ALREADY", {}};
    case Doubt::wholeFolder:
      return {"FOLDERS_PATTERN_WHOLE_FOLDER", {concern.detail}};
    case Doubt::everything:
      return {"FOLDERS_PATTERN_EVERYTHING", {}};
    default:
      return {};
  }
}

void ExclusionList::askIfNeeded(const ExcludePattern& pattern, Action go) {
  const Exclusions::Concern concern = services_.exclusions.concernAbout(pattern);
  const bool isDangerous =
      concern.doubt == Doubt::everything || concern.doubt == Doubt::wholeFolder;
  if (!isDangerous || !pattern.isEnabled) {
    go();
    return;
  }
  Question question;
  question.text = wordingOf(concern).in(services_.localizedStrings);
  question.detail = Wording{"FOLDERS_ASK_PATTERN", {pattern.text}}.in(services_.localizedStrings);
  question.buttons = {text("FOLDERS_EXCLUDE"), text("FOLDERS_CANCEL")};
  question.isDangerous = true;
  Question again = question;
  again.text = text("FOLDERS_ASK_AGAIN");
  again.buttons.front() = text("FOLDERS_EXCLUDE_ALL_THE_SAME");
  window_.ask(question, [this, again, go = std::move(go)](std::size_t button) {
    if (button == 0) {
      window_.ask(again, [go](std::size_t second) {
        if (second == 0) {
          go();
        }
      });
    }
  });
}

void ExclusionList::add(const ExcludePattern& pattern) {
  const Exclusions::Concern concern = services_.exclusions.concernAbout(pattern);
  if (isRefused(concern.doubt)) {
    services_.report(wordingOf(concern));
    return;
  }
  askIfNeeded(pattern, [this, pattern] {
    const Wording problem = services_.exclusions.addExclusions({pattern});
    if (problem.empty()) {
      page_.setText("pattern", "");
    }
    services_.report(problem.empty() ? effectOf(pattern) : problem);
  });
}

void ExclusionList::changeSelected() {
  const ExcludePattern shown = patterns_.at(*selected_);
  const ExcludePattern to = patternInField();
  askIfNeeded(to, [this, shown, to, index = *selected_] {
    services_.report(services_.exclusions.change(shown, index, to));
  });
}

void ExclusionList::removeSelected() {
  services_.report(services_.exclusions.remove(patterns_.at(*selected_), *selected_));
}

}  // namespace quillo
