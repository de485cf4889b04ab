#include <gtest/gtest.h>

#include "agent/DialogList.h"
#include "scanning/FileRemover.h"
#include "scanning/FoundFile.h"
#include "scanning/ScannerOwner.h"
#include "scanning/ScannerServices.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

class ListOwner final : public DialogListOwner {
 public:
  explicit ListOwner(DialogList& dialogs) : dialogs_(dialogs) {}
  void addToDialogList(std::shared_ptr<FileRemover> dialog) override {
    dialogs_.addToDialogList(std::move(dialog));
  }
  void removeFromDialogList(const FileRemover& dialog) override {
    dialogs_.removeFromDialogList(dialog);
  }
  void removeAllFromDialogList() override { dialogs_.removeAllFromDialogList(); }
  void withdrawNotification(const std::string&) override {}

 private:
  DialogList& dialogs_;
};

class DialogListTest : public testing::Test {
 protected:
  const Verdict infection = Verdict::parse("/a: X FOUND");
  struct Warning {
    std::shared_ptr<FakeDialog> window = std::make_shared<FakeDialog>();
    std::shared_ptr<FileRemover> remover;
  };
  std::shared_ptr<FoundFile> file() {
    return std::make_shared<FoundFile>(infection, owner, services);
  }
  Warning warning() {
    Warning made;
    made.remover = std::make_shared<FileRemover>(made.window, file(), owner, services);
    return made;
  }

  FakePlatform desktop;
  ManualClock clock;
  DialogList list;
  ListOwner owner{list};
  const ScannerServices services{desktop.application,      clock,
                                 desktop.folders,          desktop.interfaceLoader,
                                 desktop.localizedStrings, desktop.modifierKeys,
                                 desktop.preferences,      desktop.systemLog,
                                 desktop.workspace,        nullptr};
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
  FileRemover::attachTo(window, file(), owner, services);
  EXPECT_EQ(list.count(), 1U);
  list.removeAllFromDialogList();
  EXPECT_TRUE(window->isClosed());
  EXPECT_EQ(window.use_count(), 1);
}

TEST_F(DialogListTest, IsEmptiedByTheDialogThatTheUserAnswersWithCommandHeld) {
  auto window = std::make_shared<FakeDialog>();
  const Warning other = warning();
  FileRemover::attachTo(window, file(), owner, services);
  list.addToDialogList(other.remover);
  desktop.modifierKeys.held = ModifierKeys::commandKey;
  window->press(ButtonDialog::Button::otherButton);
  EXPECT_TRUE(window->isClosed());
  EXPECT_TRUE(other.window->isClosed());
  EXPECT_EQ(list.count(), 0U);
}

}  // namespace
}  // namespace quillo
