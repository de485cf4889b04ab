#pragma once

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/Page.h"

namespace quillo {

// A page without a screen. A test reads what is shown, and acts as its user does: what is disabled
// or hidden cannot be used, and what its interface file does not have is not there.
class FakePage final : public Page {
 public:
  // The page of that name of the main application; of another name, one that has any widget.
  explicit FakePage(const std::string& name)
      : file_(QUILLO_SOURCE_DIR "/resources/interface/vantrel/" + name + ".ui"),
        widgets_(widgetsIn(file_)) {}

  void setText(const std::string& widget, const std::string& text) override {
    texts_[known(widget)] = text;
  }
  std::string text(const std::string& widget) override { return texts_[known(widget)]; }
  void setEnabled(const std::string& widget, bool enabled) override {
    change(disabled_, known(widget), !enabled);
  }
  void setVisible(const std::string& widget, bool visible) override {
    change(hidden_, known(widget), !visible);
  }
  void setImage(const std::string& widget, const std::string& image) override {
    images_[known(widget)] = image;
  }
  void setChecked(const std::string& widget, bool checked) override {
    change(checked_, known(widget), checked);
  }
  bool isChecked(const std::string& widget) override { return checked_.count(known(widget)) > 0; }
  void setNumber(const std::string& widget, std::int64_t number) override {
    numbers_[known(widget)] = number;
  }
  std::int64_t number(const std::string& widget) override { return numbers_[known(widget)]; }
  void setChoices(const std::string& widget, const std::vector<std::string>& choices,
                  std::size_t chosen) override {
    choices_[known(widget)] = {choices, chosen};
  }
  std::size_t choice(const std::string& widget) override { return choices_[known(widget)].second; }
  void setProgress(const std::string& widget, std::uint64_t done, std::uint64_t all) override {
    progress_[known(widget)] = {done, all};
  }
  void setRows(const std::string& widget, const std::vector<std::string>& titles,
               std::shared_ptr<TableRows> rows) override {
    titles_[known(widget)] = titles;
    rows_[known(widget)] = std::move(rows);
    selected_[known(widget)].clear();
    counts_[known(widget)] = rowCount(widget);
  }
  void rowsChanged(const std::string& widget) override {
    ++changes_[known(widget)];
    if (std::exchange(counts_[known(widget)], rowCount(widget)) != rowCount(widget)) {
      selected_[known(widget)].clear();
    }
  }
  std::vector<std::size_t> selectedRows(const std::string& widget) override {
    return selected_[known(widget)];
  }
  void selectRow(const std::string& widget, std::size_t row) override {
    selected_[known(widget)] = {row};
  }
  void selectRows(const std::string& widget, const std::vector<std::size_t>& rows) override {
    selected_[known(widget)] = rows;
    std::erase_if(selected_[known(widget)],
                  [&](std::size_t row) { return row >= rowCount(widget); });
  }
  void markTitle(const std::string& widget, std::size_t column, bool isAscending) override {
    marks_[known(widget)] = {column, isAscending};
  }
  void onAction(const std::string& widget, Action action) override {
    actions_[known(widget)] = std::move(action);
  }
  void onSelection(const std::string& widget, Action action) override {
    selections_[known(widget)] = std::move(action);
  }
  void onTitle(const std::string& widget,
               std::function<void(std::size_t column)> pressed) override {
    titlePresses_[known(widget)] = std::move(pressed);
  }
  void onDrop(const std::string& widget,
              std::function<void(const std::vector<std::string>&)> dropped) override {
    drops_[known(widget)] = std::move(dropped);
  }
  void focus(const std::string& widget) override { focused = known(widget); }

  // What its user does.
  void press(const std::string& widget) {
    mustBeUsable(widget);
    act(actions_, widget);
  }
  void check(const std::string& widget, bool checked) {
    mustBeUsable(widget);
    setChecked(widget, checked);
    act(actions_, widget);
  }
  void write(const std::string& widget, const std::string& text) {
    mustBeUsable(widget);
    texts_[known(widget)] = text;
    act(actions_, widget);
  }
  void enter(const std::string& widget, std::int64_t number) {
    mustBeUsable(widget);
    numbers_[known(widget)] = number;
    act(actions_, widget);
  }
  void choose(const std::string& widget, std::size_t index) {
    mustBeUsable(widget);
    choices_.at(known(widget)).second = index;
    act(actions_, widget);
  }
  void select(const std::string& widget, const std::vector<std::size_t>& rows) {
    mustBeUsable(widget);
    selected_[known(widget)] = rows;
    if (selections_.count(known(widget)) > 0) {
      selections_[known(widget)]();
    }
  }
  void pressTitle(const std::string& widget, std::size_t column) {
    mustBeUsable(widget);
    titlePresses_.at(known(widget))(column);
  }
  void drop(const std::string& widget, const std::vector<std::string>& paths) {
    mustBeUsable(widget);
    drops_.at(known(widget))(paths);
  }

  // What its user sees.
  bool isEnabled(const std::string& widget) const { return disabled_.count(known(widget)) == 0; }
  bool isVisible(const std::string& widget) const { return hidden_.count(known(widget)) == 0; }
  std::string image(const std::string& widget) { return images_[known(widget)]; }
  std::vector<std::string> choices(const std::string& widget) {
    return choices_[known(widget)].first;
  }
  std::pair<std::uint64_t, std::uint64_t> progress(const std::string& widget) {
    return progress_[known(widget)];
  }
  std::vector<std::string> titles(const std::string& widget) { return titles_[known(widget)]; }
  // By which column the rows stand, and whether what is smaller stands above.
  std::pair<std::size_t, bool> markedTitle(const std::string& widget) {
    return marks_.at(known(widget));
  }
  std::size_t rowCount(const std::string& widget) {
    return rows_[known(widget)] ? rows_[known(widget)]->count() : 0;
  }
  TableRows::Row row(const std::string& widget, std::size_t row) {
    return rows_.at(known(widget))->row(row);
  }
  // How often the rows of that table were said to be others.
  int changes(const std::string& widget) { return changes_[known(widget)]; }
  std::string focused;

 private:
  // Throws when two widgets have one name: the program would speak to the first alone.
  static std::set<std::string> widgetsIn(const std::string& file) {
    std::ifstream stream(file);
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    const std::string mark = " name=\"";
    std::set<std::string> names;
    for (std::size_t at = text.find("<widget "); at != std::string::npos;
         at = text.find("<widget ", at + 1)) {
      const std::size_t start = text.find(mark, at) + mark.size();
      const std::string name = text.substr(start, text.find('"', start) - start);
      if (!names.insert(name).second) {
        throw std::logic_error(file + " has two widgets " + name);
      }
    }
    return names;
  }
  const std::string& known(const std::string& widget) const {
    if (!widgets_.empty() && widgets_.count(widget) == 0) {
      throw std::logic_error(file_ + " has no widget " + widget);
    }
    return widget;
  }
  static void change(std::set<std::string>& set, const std::string& widget, bool isIn) {
    isIn ? static_cast<void>(set.insert(widget)) : static_cast<void>(set.erase(widget));
  }
  void mustBeUsable(const std::string& widget) const {
    if (!isEnabled(widget) || !isVisible(widget)) {
      throw std::logic_error(widget + " cannot be used");
    }
  }
  static void act(const std::map<std::string, Action>& actions, const std::string& widget) {
    const auto action = actions.find(widget);
    if (action != actions.end()) {
      Action(action->second)();  // it may set another one
    }
  }

  const std::string file_;
  const std::set<std::string> widgets_;  // by their names
  std::map<std::string, std::string> texts_;
  std::map<std::string, std::string> images_;
  std::map<std::string, std::int64_t> numbers_;
  std::map<std::string, std::pair<std::vector<std::string>, std::size_t>> choices_;
  std::map<std::string, std::pair<std::uint64_t, std::uint64_t>> progress_;
  std::map<std::string, std::vector<std::string>> titles_;
  std::map<std::string, std::pair<std::size_t, bool>> marks_;
  std::map<std::string, std::function<void(std::size_t)>> titlePresses_;
  std::map<std::string, std::shared_ptr<TableRows>> rows_;
  std::map<std::string, int> changes_;
  std::map<std::string, std::size_t> counts_;
  std::map<std::string, std::vector<std::size_t>> selected_;
  std::map<std::string, Action> actions_;
  std::map<std::string, Action> selections_;
  std::map<std::string, std::function<void(const std::vector<std::string>&)>> drops_;
  std::set<std::string> disabled_;
  std::set<std::string> hidden_;
  std::set<std::string> checked_;
};

// Pages by their names, each made when it is first asked for.
class FakePages {
 public:
  FakePage& operator[](const std::string& name) {
    return pages_.try_emplace(name, name).first->second;
  }

 private:
  std::map<std::string, FakePage> pages_;
};

// A window without a screen. Its user answers questions and chooses when the test says so.
class FakeMainWindow final : public MainWindow {
 public:
  Page& page(const std::string& name) override { return pages[name]; }
  void addToList(const std::string& name, const std::string& title) override {
    list.emplace_back(name, title);
  }
  void show(const std::string& name) override {
    shown_ = name;
    if (shownActions_.count(name) > 0) {
      const auto action = shownActions_[name];  // it may set another one
      action();
    }
  }
  std::string shownPage() const override { return shown_; }
  void onShown(const std::string& name, std::function<void()> action) override {
    shownActions_[name] = std::move(action);
  }
  void onClose(std::function<bool()> mayClose) override {
    mayClose_.push_back(std::move(mayClose));
  }
  void close() override {
    closings +=
        std::all_of(mayClose_.begin(), mayClose_.end(), [](const auto& may) { return may(); });
  }
  void copy(const std::string& text) override { copied.push_back(text); }
  void ask(const Question& question, std::function<void(std::size_t)> answered) override {
    questions.push_back(question);
    answered_.push_back(std::move(answered));
  }
  void chooseFolders(const std::string&, const std::string&,
                     std::function<void(const std::vector<std::string>&)> chosen) override {
    chosen_ = std::move(chosen);
  }
  void chooseFiles(const std::string&, const std::string&,
                   std::function<void(const std::vector<std::string>&)> chosen) override {
    chosen_ = std::move(chosen);
  }

  // What its user does. A button is named by its text.
  void answer(const std::string& button) {
    const std::vector<std::string>& buttons = questions.at(answers_).buttons;
    const auto found = std::find(buttons.begin(), buttons.end(), button);
    if (found == buttons.end()) {
      throw std::logic_error("no button " + button);
    }
    Answer(answered_.at(answers_++))(static_cast<std::size_t>(found - buttons.begin()));
  }
  void choosePaths(const std::vector<std::string>& paths) { std::exchange(chosen_, {})(paths); }

  FakePages pages;
  std::vector<std::pair<std::string, std::string>> list;
  std::vector<Question> questions;
  int closings = 0;
  std::vector<std::string> copied;

 private:
  using Answer = std::function<void(std::size_t)>;
  std::string shown_;
  std::map<std::string, std::function<void()>> shownActions_;
  std::vector<std::function<bool()>> mayClose_;
  std::size_t answers_ = 0;
  std::vector<Answer> answered_;
  std::function<void(const std::vector<std::string>&)> chosen_;
};

}  // namespace quillo
