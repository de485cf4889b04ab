#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/Page.h"

namespace quillo {

// A page without a screen. A test reads what is shown, and acts as its user does: what is disabled
// or hidden cannot be used.
class FakePage final : public Page {
 public:
  void setText(const std::string& widget, const std::string& text) override {
    texts_[widget] = text;
  }
  std::string text(const std::string& widget) override { return texts_[widget]; }
  void setEnabled(const std::string& widget, bool enabled) override {
    change(disabled_, widget, !enabled);
  }
  void setVisible(const std::string& widget, bool visible) override {
    change(hidden_, widget, !visible);
  }
  void setImage(const std::string& widget, const std::string& image) override {
    images_[widget] = image;
  }
  void setChecked(const std::string& widget, bool checked) override {
    change(checked_, widget, checked);
  }
  bool isChecked(const std::string& widget) override { return checked_.count(widget) > 0; }
  void setNumber(const std::string& widget, std::int64_t number) override {
    numbers_[widget] = number;
  }
  std::int64_t number(const std::string& widget) override { return numbers_[widget]; }
  void setChoices(const std::string& widget, const std::vector<std::string>& choices,
                  std::size_t chosen) override {
    choices_[widget] = {choices, chosen};
  }
  std::size_t choice(const std::string& widget) override { return choices_[widget].second; }
  void setProgress(const std::string& widget, std::uint64_t done, std::uint64_t all) override {
    progress_[widget] = {done, all};
  }
  void setRows(const std::string& widget, const std::vector<std::string>& titles,
               std::shared_ptr<TableRows> rows) override {
    titles_[widget] = titles;
    rows_[widget] = std::move(rows);
    selected_[widget].clear();
    counts_[widget] = rowCount(widget);
  }
  void rowsChanged(const std::string& widget) override {
    ++changes_[widget];
    if (std::exchange(counts_[widget], rowCount(widget)) != rowCount(widget)) {
      selected_[widget].clear();
    }
  }
  std::vector<std::size_t> selectedRows(const std::string& widget) override {
    return selected_[widget];
  }
  void selectRow(const std::string& widget, std::size_t row) override { selected_[widget] = {row}; }
  void selectRows(const std::string& widget, const std::vector<std::size_t>& rows) override {
    selected_[widget] = rows;
    std::erase_if(selected_[widget], [&](std::size_t row) { return row >= rowCount(widget); });
  }
  void onAction(const std::string& widget, Action action) override {
    actions_[widget] = std::move(action);
  }
  void onSelection(const std::string& widget, Action action) override {
    selections_[widget] = std::move(action);
  }
  void onDrop(const std::string& widget,
              std::function<void(const std::vector<std::string>&)> dropped) override {
    drops_[widget] = std::move(dropped);
  }
  void focus(const std::string& widget) override { focused = widget; }

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
    texts_[widget] = text;
    act(actions_, widget);
  }
  void enter(const std::string& widget, std::int64_t number) {
    mustBeUsable(widget);
    numbers_[widget] = number;
    act(actions_, widget);
  }
  void choose(const std::string& widget, std::size_t index) {
    mustBeUsable(widget);
    choices_.at(widget).second = index;
    act(actions_, widget);
  }
  void select(const std::string& widget, const std::vector<std::size_t>& rows) {
    mustBeUsable(widget);
    selected_[widget] = rows;
    if (selections_.count(widget) > 0) {
      selections_[widget]();
    }
  }
  void drop(const std::string& widget, const std::vector<std::string>& paths) {
    mustBeUsable(widget);
    drops_.at(widget)(paths);
  }

  // What its user sees.
  bool isEnabled(const std::string& widget) const { return disabled_.count(widget) == 0; }
  bool isVisible(const std::string& widget) const { return hidden_.count(widget) == 0; }
  std::string image(const std::string& widget) { return images_[widget]; }
  std::vector<std::string> choices(const std::string& widget) { return choices_[widget].first; }
  std::pair<std::uint64_t, std::uint64_t> progress(const std::string& widget) {
    return progress_[widget];
  }
  std::vector<std::string> titles(const std::string& widget) { return titles_[widget]; }
  std::size_t rowCount(const std::string& widget) {
    return rows_[widget] ? rows_[widget]->count() : 0;
  }
  TableRows::Row row(const std::string& widget, std::size_t row) {
    return rows_.at(widget)->row(row);
  }
  // How often the rows of that table were said to be others.
  int changes(const std::string& widget) { return changes_[widget]; }
  std::string focused;

 private:
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

  std::map<std::string, std::string> texts_;
  std::map<std::string, std::string> images_;
  std::map<std::string, std::int64_t> numbers_;
  std::map<std::string, std::pair<std::vector<std::string>, std::size_t>> choices_;
  std::map<std::string, std::pair<std::uint64_t, std::uint64_t>> progress_;
  std::map<std::string, std::vector<std::string>> titles_;
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

  std::map<std::string, FakePage> pages;
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
