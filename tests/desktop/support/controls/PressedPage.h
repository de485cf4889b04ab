#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/desktop/support/controls/InterfaceControls.h"
#include "tests/desktop/support/session/EitherDesktop.h"
#include "tests/desktop/support/session/ShownWords.h"

namespace quillo {

// What has to be different when a control was worked. "$HOME/" in it is the user's.
struct Effect {
  enum class Kind {
    says,       // the window says the words, which it did not
    hides,      // ... no more
    reads,      // a field has that text, which none had
    opens,      // a window of that title, over that of the program
    offers,     // the control of that name can be worked, which it could not
    checks,     // ... is switched on
    clears,     // ... off
    writes,     // the text stands once more in the file
    withdraws,  // ... once less
    later       // what a step behind it shows
  };
  Kind kind = Kind::says;
  std::string words;
  std::string file = {};  // in the home
};

// One thing that a user does on a page with the keyboard.
struct Step {
  // By the name of its widget; "" for what only leads from one control to the next.
  std::string control;
  Effect effect;
  // Instead of those that work the control: keys with a blank between two; what begins with "'" is
  // typed, without the "'"; what begins with "@" is a widget's name, its blanks as "_", to which
  // the tabulator is to lead.
  std::string keys = {};
  // In the window that the control has opened; it closes with them.
  std::string answer = {};
  // Happens before it, behind the window's back.
  std::function<void()> meanwhile = {};
};

Effect says(const std::string& words);
Effect hides(const std::string& words);
Effect reads(const std::string& text);
// A question has the title of the window that asks it.
Effect opens(const std::string& title);
Effect offers(const std::string& name);
Effect checks(const std::string& name);
Effect clears(const std::string& name);
Effect writes(const std::string& file, const std::string& text);
Effect shownLater();
Effect withdraws(const std::string& file, const std::string& text);

// A page of the running program under its user's hands. Of what does not happen the test is told,
// and the steps behind it are left.
class PressedPage {
 public:
  PressedPage(EitherDesktop& desktop, const std::string& page,
              const std::vector<std::string>& words = {});

  void perform(const std::vector<Step>& steps);

 private:
  bool eventually(const std::function<bool()>& predicate);
  bool perform(const Step& step);
  bool isInFront(bool isItself);
  bool isOffered(const std::string& name);
  bool isChecked(const std::string& name);
  std::size_t timesIn(const Effect& effect) const;
  bool holds(const Effect& effect, std::size_t before);
  void press(const std::string& keys);
  void goTo(const std::string& name);
  std::string atHome(const std::string& words) const;

  EitherDesktop& desktop_;
  const std::string page_;
  const std::vector<InterfaceControl> controls_;
  ShownWords shown_;
  std::unique_ptr<ChildProcess> program_;
};

}  // namespace quillo
