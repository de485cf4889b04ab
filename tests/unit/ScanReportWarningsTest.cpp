#include "tests/fakes/scanning/ReportFixture.h"

namespace quillo {
namespace {

class ScanReportWarnings : public ReportFixture {
 protected:
  std::shared_ptr<FakeDialog> warn() {
    startRun(Action::leaveInPlace);
    loggedFor(infection + "\n");
    return warningDialogs().back();
  }
};

TEST_F(ScanReportWarnings, LeaveTheListBeforeTheyClose) {
  const auto dialog = warn();
  bool wasClosed = true;
  owner.duringRemoval = [&] { wasClosed = dialog->isClosed(); };
  dialog->press(ButtonDialog::Button::otherButton);
  EXPECT_FALSE(wasClosed);
  EXPECT_TRUE(dialog->isClosed());
}

TEST_F(ScanReportWarnings, GoByTheKeysThatWereHeldWhenTheButtonWasPressed) {
  const auto dialog = warn();
  desktop.modifierKeys.held = ModifierKeys::commandKey;
  owner.duringRemoval = [this] { desktop.modifierKeys.held = 0; };
  dialog->press(ButtonDialog::Button::otherButton);
  EXPECT_TRUE(owner.wasCalled("remove all dialogs"));
}

}  // namespace
}  // namespace quillo
