#pragma once

#include <QRect>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/interface/BusTraffic.h"
#include "benchmarks/interface/Figures.h"
#include "posix/ChildProcess.h"
#include "tests/desktop/support/session/DesktopSession.h"

namespace bench {

// A window of the main application, whose tables it leafs through as a user's hand does. It has
// ended when the object has.
class ListWindow {
 public:
  // Starts it at the overview and waits until that is on the screen and nothing goes on.
  ListWindow(quillo::DesktopSession& session, const std::string& program);
  ~ListWindow();
  ListWindow(const ListWindow&) = delete;
  ListWindow& operator=(const ListWindow&) = delete;

  // Asks for a page as the desktop does, and waits until rows with the sign of a threat are in its
  // table; returns how long that took.
  Milliseconds openPage(const std::string& page, const std::string& title);
  // Asks for a page and does not wait.
  void askFor(const std::string& page);
  // Tells every program that the history has news.
  void tellNews();
  // Gives the table the keyboard, and returns how many of its rows are to be seen.
  int enterTable();
  // Presses that key so many times, a few thousandths of a second apart.
  void press(const std::string& key, int times);
  // Asks the window's main thread over and over, as long as the object lives, for something that
  // takes it no time.
  std::unique_ptr<Probe> probe();

 private:
  std::vector<QRect> signs();

  quillo::DesktopSession& session_;
  const quillo::BusConnection connection_;
  std::unique_ptr<quillo::ChildProcess> process_;
  std::string title_;
};

}  // namespace bench
