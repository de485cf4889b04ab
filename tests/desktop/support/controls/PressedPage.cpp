#include "tests/desktop/support/controls/PressedPage.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <algorithm>
#include <utility>

#include "posix/Text.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

std::vector<std::string> commandFor(const std::string& page,
                                    const std::vector<std::string>& words) {
  std::vector<std::string> command = {"env", ShownWords::variable(), QUILLO_BINARY_DIR "/vantrel",
                                      "--page", page};
  command.insert(command.end(), words.begin(), words.end());
  return command;
}

}  // namespace

Effect says(const std::string& words) { return {Effect::Kind::says, words}; }
Effect hides(const std::string& words) { return {Effect::Kind::hides, words}; }
Effect reads(const std::string& text) { return {Effect::Kind::reads, text}; }
Effect opens(const std::string& title) { return {Effect::Kind::opens, title}; }
Effect offers(const std::string& name) { return {Effect::Kind::offers, name}; }
Effect checks(const std::string& name) { return {Effect::Kind::checks, name}; }
Effect clears(const std::string& name) { return {Effect::Kind::clears, name}; }
Effect writes(const std::string& file, const std::string& text) {
  return {Effect::Kind::writes, text, file};
}
Effect shownLater() { return {Effect::Kind::later, ""}; }
Effect withdraws(const std::string& file, const std::string& text) {
  return {Effect::Kind::withdraws, text, file};
}

PressedPage::PressedPage(EitherDesktop& desktop, const std::string& page,
                         const std::vector<std::string>& words)
    : desktop_(desktop),
      page_(page),
      controls_(controlsOf(page)),
      shown_(desktop.session()),
      program_(desktop.session().startCommand(commandFor(page, words))) {}

void PressedPage::perform(const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    if (!perform(step)) {
      desktop_.session().keepPicture("vantrel-not-pressed-" + page_);
      ADD_FAILURE() << page_ << ": " << step.control << " " << step.keys << ": “"
                    << step.effect.words << "” " << step.effect.file << "\n"
                    << shown_.all() << desktop_.session().log();
      return;
    }
  }
}

// What the test itself serves on the bus is served meanwhile.
bool PressedPage::eventually(const std::function<bool()>& predicate) {
  return desktop_.eventually([&] {
    QCoreApplication::processEvents();
    return predicate();
  });
}

bool PressedPage::perform(const Step& step) {
  if (step.meanwhile) {
    step.meanwhile();
  }
  const auto control =
      std::find_if(controls_.begin(), controls_.end(),
                   [&](const InterfaceControl& each) { return each.widget == step.control; });
  const bool isThere = control != controls_.end();
  EXPECT_TRUE(isThere || step.control.empty()) << step.control << " is not on the page";
  const std::string name = isThere ? control->name : "";
  if (!eventually([&] { return isInFront(true) && (name.empty() || isOffered(name)); })) {
    const auto window = shown_.activeWindow();
    ADD_FAILURE() << "it cannot be worked; in front is " << (window ? window->role : "nothing");
    return false;
  }
  const std::size_t before = timesIn(step.effect);
  // What only leads on may find it done.
  const bool isNew = isThere && step.effect.kind != Effect::Kind::later;
  EXPECT_FALSE(isNew && holds(step.effect, before)) << step.control << ": it is so before";
  press(step.keys.empty() && isThere ? control->usualKeys() : step.keys);
  if (!eventually([&] { return holds(step.effect, before); })) {
    return false;
  }
  if (!step.answer.empty()) {
    if (!eventually([&] { return isInFront(false); })) {
      return false;
    }
    press(step.answer);
    return eventually([&] { return isInFront(true); });
  }
  return true;
}

// Either the window of the program or one that asks has the keyboard.
bool PressedPage::isInFront(bool isItself) {
  const auto window = shown_.activeWindow();
  return window && (window->role == "frame") == isItself;
}

bool PressedPage::isOffered(const std::string& name) {
  const auto parts = shown_.parts();
  return std::any_of(parts.begin(), parts.end(), [&](const ShownWords::Part& part) {
    return part.name == name && part.role != "label" && part.isEnabled;
  });
}

bool PressedPage::isChecked(const std::string& name) {
  const auto parts = shown_.parts();
  return std::any_of(parts.begin(), parts.end(), [&](const ShownWords::Part& part) {
    return part.name == name && part.isChecked;
  });
}

std::size_t PressedPage::timesIn(const Effect& effect) const {
  const std::string text =
      effect.file.empty()
          ? ""
          : TemporaryFolder::read(desktop_.session().homeFolder() + "/" + effect.file);
  const std::string words = atHome(effect.words);
  std::size_t times = 0;
  for (std::size_t at = text.find(words); at != std::string::npos; at = text.find(words, at + 1)) {
    ++times;
  }
  return times;
}

bool PressedPage::holds(const Effect& effect, std::size_t before) {
  const std::string words = atHome(effect.words);
  switch (effect.kind) {
    case Effect::Kind::says:
      return shown_.say(words);
    case Effect::Kind::hides:
      return !shown_.say(words);
    case Effect::Kind::reads: {
      const auto parts = shown_.parts();
      return std::any_of(parts.begin(), parts.end(),
                         [&](const ShownWords::Part& part) { return part.text == words; });
    }
    case Effect::Kind::opens: {
      const auto window = shown_.activeWindow();
      return window && window->name == words && isInFront(false);
    }
    case Effect::Kind::offers:
      return isOffered(words);
    case Effect::Kind::checks:
      return isChecked(words);
    case Effect::Kind::clears:
      return !isChecked(words);
    case Effect::Kind::writes:
      return timesIn(effect) > before;
    case Effect::Kind::withdraws:
      return timesIn(effect) < before;
    default:
      return true;
  }
}

void PressedPage::press(const std::string& keys) {
  for (const std::string_view key : split(keys, ' ')) {
    if (key.starts_with('\'')) {
      desktop_.type(atHome(std::string(key.substr(1))));
    } else if (key.starts_with('@')) {
      goTo(replacingAll(std::string(key.substr(1)), "_", " "));
    } else {
      desktop_.press(std::string(key));
    }
  }
}

void PressedPage::goTo(const std::string& name) {
  constexpr int most = 60;
  for (int times = 0; times < most && !shown_.hasKeyboard(name); ++times) {
    const std::string before = shown_.keyboardIsAt();
    desktop_.press("Tab");
    eventually([&] { return shown_.keyboardIsAt() != before; });
  }
}

std::string PressedPage::atHome(const std::string& words) const {
  return replacingAll(words, "$HOME/", desktop_.session().homeFolder() + "/");
}

}  // namespace quillo
