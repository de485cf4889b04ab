#include <gtest/gtest.h>

#include "agent/DialogList.h"
#include "scanning/Dispatcher.h"
#include "scanning/FileRemover.h"
#include "scanning/FoundFile.h"
#include "scanning/ScannerOwner.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/scanning/FakeScannerOwner.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

class DialogListTest : public testing::Test {
 protected:
  const Verdict infection = Verdict::parse("/a: X FOUND");
  struct Warning {
    std::shared_ptr<FakeDialog> window = std::make_shared<FakeDialog>();
    std::shared_ptr<FileRemover> remover;
  };
  std::shared_ptr<FoundFile> file() { return std::make_shared<FoundFile>(infection, services); }
  Warning warning() {
    Warning made;
    made.remover = std::make_shared<FileRemover>(made.window, file(), services);
    return made;
  }

  FakePlatform desktop;
  ManualClock clock;
  Dispatcher dispatcher{clock, desktop.systemLog, desktop.volumes, nullptr};
  FakeScannerOwner owner{dispatcher};
  DialogList list;
  const ScannerServices services = scannerServicesOf(desktop, clock, owner, nullptr, &list);
};

TEST_F(DialogListTest, IsEmptyAtFirst) { EXPECT_EQ(list.count(), 0U); }

TEST_F(DialogListTest, KeepsWhatIsAdded) {
  const Warning one = warning();
  list.addToDialogList(one.remover);
  list.addToDialogList(warning().remover);
  EXPECT_EQ(list.count(), 2U);
  EXPECT_EQ(one.remover.use_count(), 2);
}

TEST_F(DialogListTest, RemovesEveryOccurrenceAndNothingElse) {
  const Warning one = warning();
  const Warning two = warning();
  list.addToDialogList(one.remover);
  list.addToDialogList(two.remover);
  list.addToDialogList(one.remover);
  list.removeFromDialogList(*one.remover);
  EXPECT_EQ(list.count(), 1U);
  list.removeFromDialogList(*one.remover);
  EXPECT_EQ(list.count(), 1U);
  list.removeFromDialogList(*two.remover);
  EXPECT_EQ(list.count(), 0U);
  EXPECT_FALSE(one.window->isClosed());
}

TEST_F(DialogListTest, DismissesAllAndForgetsThem) {
  const Warning one = warning();
  const Warning two = warning();
  list.addToDialogList(one.remover);
  list.addToDialogList(two.remover);
  list.removeAllFromDialogList();
  EXPECT_TRUE(one.window->isClosed());
  EXPECT_TRUE(two.window->isClosed());
  EXPECT_EQ(list.count(), 0U);
  EXPECT_TRUE(desktop.workspace.recycled.empty());
}

TEST_F(DialogListTest, HasNothingToDismissWhenItIsEmpty) {
  list.removeAllFromDialogList();
  EXPECT_EQ(list.count(), 0U);
}

TEST_F(DialogListTest, MayHoldTheLastReferenceToADialog) {
  auto window = std::make_shared<FakeDialog>();
  FileRemover::attachTo(window, file(), services);
  EXPECT_EQ(list.count(), 1U);
  list.removeAllFromDialogList();
  EXPECT_TRUE(window->isClosed());
  EXPECT_EQ(window.use_count(), 1);
}

TEST_F(DialogListTest, IsEmptiedByTheDialogThatTheUserAnswersWithCommandHeld) {
  auto window = std::make_shared<FakeDialog>();
  const Warning other = warning();
  FileRemover::attachTo(window, file(), services);
  list.addToDialogList(other.remover);
  desktop.modifierKeys.held = ModifierKeys::commandKey;
  window->press(ButtonDialog::Button::otherButton);
  EXPECT_TRUE(window->isClosed());
  EXPECT_TRUE(other.window->isClosed());
  EXPECT_EQ(list.count(), 0U);
}

}  // namespace
}  // namespace quillo
