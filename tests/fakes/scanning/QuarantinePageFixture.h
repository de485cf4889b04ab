#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "companion/quarantine/QuarantinePage.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/scanning/QuarantineFixture.h"

namespace quillo {

// The page over a quarantine of the test's own.
class QuarantinePageFixture : public testing::Test, protected QuarantineFixture {
 protected:
  void work() { threads.run("quarantine"); }
  void show() {
    window.show("quarantine");
    work();
  }
  void press(const std::string& button) {
    page.press(button);
    work();
  }
  // Its user is warned of what is still infected, and wants it.
  void putBack() {
    page.press("restoreButton");
    window.answer("<QUARANTINE_RESTORE_ALL_THE_SAME>");
    work();
  }
  std::string summary() { return page.text("summary"); }
  std::size_t rows() { return page.rowCount("files"); }

  FakeMainWindow window;
  FakePage& page = window.pages["quarantine"];
  std::shared_ptr<QuarantinePage> shown = QuarantinePage::make(window, services);
};

}  // namespace quillo
