#include <gtest/gtest.h>

#include <QAccessible>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLabel>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTableView>
#include <stdexcept>

#include "tests/desktop/support/pages/WindowUnderTest.h"

namespace quillo {
namespace {

constexpr std::size_t million = 1000000;

class NumberedRows final : public TableRows {
 public:
  explicit NumberedRows(std::size_t rows) : rows_(rows) {}

  std::size_t count() override { return rows_; }
  Row row(std::size_t row) override {
    ++asked;
    if (isBroken) {
      throw std::runtime_error("the file is damaged");
    }
    return {{"file " + std::to_string(row) + "\xff", "second"}, Sign::threat};
  }
  void setCount(std::size_t rows) { rows_ = rows; }

  int asked = 0;
  bool isBroken = false;

 private:
  std::size_t rows_;
};

class LongRows final : public TableRows {
 public:
  explicit LongRows(const std::string& word) {
    for (int i = 0; i < 30; ++i) {
      text_ += word;
    }
  }
  std::size_t count() override { return 1; }
  Row row(std::size_t) override { return {{"short", text_}}; }

 private:
  std::string text_;
};

class PageTableTest : public testing::Test {
 protected:
  PageTableTest() {
    test.window.show("everything");
    view.setMinimumHeight(200);
    QCoreApplication::processEvents();
  }
  void showRows(std::size_t count) {
    rows = std::make_shared<NumberedRows>(count);
    page.setRows("table", {"Name", "Folder"}, rows);
    QCoreApplication::processEvents();
  }
  static QString spokenOf(QTableView& table) {
    return QAccessible::queryAccessibleInterface(&table)->text(QAccessible::Description);
  }
  QString shownAt(int row) { return view.model()->index(row, 0).data().toString(); }

  WindowUnderTest test;
  Page& page = test.window.page("everything");
  QTableView& view = *test.find<QTableView>("table");
  std::shared_ptr<NumberedRows> rows;
};

TEST_F(PageTableTest, ShowsTitlesAndBytes) {
  showRows(3);
  EXPECT_EQ(view.model()->headerData(0, Qt::Horizontal).toString(), "Name");
  EXPECT_EQ(shownAt(2).toStdString(), "file 2\\xff");
}

TEST_F(PageTableTest, ShowsByWhichTitleItsRowsStandAndTellsWhichIsPressed) {
  showRows(3);
  QHeaderView& header = *view.horizontalHeader();
  EXPECT_FALSE(header.isSortIndicatorShown());
  page.markTitle("table", 1, false);
  EXPECT_TRUE(header.isSortIndicatorShown());
  EXPECT_EQ(header.sortIndicatorSection(), 1);
  EXPECT_EQ(header.sortIndicatorOrder(), Qt::DescendingOrder);
  std::vector<std::size_t> pressed;
  page.onTitle("table", [&](std::size_t column) {
    pressed.push_back(column);
    page.markTitle("table", column, true);
  });
  const QPointF place(header.sectionViewportPosition(0) + 20, header.height() / 2.0);
  const QPointF onScreen = header.viewport()->mapToGlobal(place);
  for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
    QMouseEvent event(type, place, onScreen, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(header.viewport(), &event);
  }
  EXPECT_EQ(pressed, std::vector<std::size_t>{0});
  EXPECT_EQ(header.sortIndicatorSection(), 0);
  EXPECT_EQ(header.sortIndicatorOrder(), Qt::AscendingOrder);
  EXPECT_TRUE(page.selectedRows("table").empty()) << "who sorts has chosen nothing";
}

// As a sorted table has them whose files were selected in another order.
TEST_F(PageTableTest, SelectsManyRowsThatLieApart) {
  constexpr std::size_t rowsInAll = 10000;
  showRows(rowsInAll);
  std::vector<std::size_t> everySecond;
  for (std::size_t row = 0; row < rowsInAll; row += 2) {
    everySecond.push_back(row);
  }
  QElapsedTimer timer;
  timer.start();
  page.selectRows("table", everySecond);
  page.selectRows("table", everySecond);
  QCoreApplication::processEvents();
  EXPECT_LT(timer.elapsed(), 1000);
  EXPECT_EQ(page.selectedRows("table"), everySecond);
}

TEST_F(PageTableTest, SaysWhatItIsForWhileItIsEmpty) {
  const QLabel& hint = *view.findChild<QLabel*>("qt_hint");
  EXPECT_EQ(hint.text(), "Rows come here.");
  EXPECT_TRUE(hint.isVisible());
  EXPECT_EQ(spokenOf(view), "Rows come here.");
  showRows(1);
  EXPECT_FALSE(hint.isVisible());
  EXPECT_EQ(spokenOf(view), "");
  rows->setCount(0);
  page.rowsChanged("table");
  EXPECT_TRUE(hint.isVisible());
  EXPECT_EQ(spokenOf(view), "Rows come here.");
}

// What does not fit is scrolled in the table, and not with all of the page.
TEST_F(PageTableTest, AsksForNoMoreHeightThanItHasToHave) {
  showRows(million);
  EXPECT_LE(view.sizeHint().height(), 200);
  EXPECT_LE(view.sizeHint().height(), view.minimumSizeHint().height());
}

TEST_F(PageTableTest, SelectsItsFirstRowForWhoComesByKeyboard) {
  showRows(1);
  int calls = 0;
  page.onSelection("table", [&] { ++calls; });
  EXPECT_TRUE(page.selectedRows("table").empty());
  QFocusEvent come(QEvent::FocusIn, Qt::TabFocusReason);
  QCoreApplication::sendEvent(&view, &come);
  EXPECT_EQ(page.selectedRows("table"), std::vector<std::size_t>{0});
  EXPECT_EQ(calls, 1);
}

TEST_F(PageTableTest, ElidesLongTextsRatherThanHideColumns) {
  page.setRows("table", {"Name", "Folder"}, std::make_shared<LongRows>("mmmm"));
  view.setFixedWidth(400);
  QCoreApplication::processEvents();
  EXPECT_FALSE(view.horizontalScrollBar()->isVisible());
  view.setFixedWidth(120);
  QCoreApplication::processEvents();
  EXPECT_TRUE(view.horizontalScrollBar()->isVisible());
}

TEST_F(PageTableTest, ShowsSentencesWholeWhereItsFileSaysSo) {
  QTableView& sentences = *test.find<QTableView>("sentences");
  page.setRows("sentences", {"Name", "Sentence"}, std::make_shared<LongRows>("many words "));
  sentences.setFixedWidth(600);
  QCoreApplication::processEvents();
  const int wide = sentences.rowHeight(0);
  EXPECT_GT(wide, sentences.fontMetrics().height() * 2);
  // Its lines do not touch those of the next row.
  const QAbstractItemView& whole = sentences;
  EXPECT_GT(wide, whole.sizeHintForRow(0) + sentences.fontMetrics().height() / 3);
  sentences.setFixedWidth(300);
  QCoreApplication::processEvents();
  EXPECT_GT(sentences.rowHeight(0), wide);
}

TEST_F(PageTableTest, SharesItsWidthAmongTheColumnsUntilOneIsDrawn) {
  showRows(3);
  const int shared = view.columnWidth(0);
  view.setFixedWidth(view.width() + 200);
  QCoreApplication::processEvents();
  EXPECT_GT(view.columnWidth(0), shared);
  view.horizontalHeader()->resizeSection(0, 60);
  view.setFixedWidth(view.width() + 200);
  QCoreApplication::processEvents();
  EXPECT_EQ(view.columnWidth(0), 60);
}

TEST_F(PageTableTest, OpensAMillionRowsWithin200Milliseconds) {
  QElapsedTimer time;
  time.start();
  showRows(million);
  view.grab();
  EXPECT_LT(time.elapsed(), 200);
  EXPECT_LT(rows->asked, 200);
}

TEST_F(PageTableTest, ScrollsThroughAMillionRowsWithoutAPause) {
  showRows(million);
  QScrollBar& bar = *view.verticalScrollBar();
  qint64 slowest = 0;
  constexpr int steps = 50;
  for (int step = 1; step <= steps; ++step) {
    QElapsedTimer time;
    time.start();
    bar.setValue(static_cast<int>(static_cast<qint64>(bar.maximum()) * step / steps));
    view.grab();
    slowest = std::max(slowest, time.elapsed());
  }
  EXPECT_LT(slowest, 100);
  EXPECT_LT(rows->asked, 200 * steps);
}

TEST_F(PageTableTest, AsksForNoRowTwiceWhileItIsSeen) {
  showRows(20);
  view.grab();
  const int asked = rows->asked;
  view.grab();
  EXPECT_EQ(rows->asked, asked);
}

TEST_F(PageTableTest, TellsWhatItsUserSelectsAndNotWhatTheProgramDoes) {
  showRows(million);
  int calls = 0;
  page.onSelection("table", [&] { ++calls; });
  page.selectRow("table", 2);
  EXPECT_EQ(page.selectedRows("table"), std::vector<std::size_t>{2});
  EXPECT_EQ(calls, 0);
  test.press(&view, Qt::Key_Down);
  EXPECT_EQ(page.selectedRows("table"), std::vector<std::size_t>{3});
  EXPECT_EQ(calls, 1);
  test.press(&view, Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(page.selectedRows("table").size(), million);
}

TEST_F(PageTableTest, SelectsTheRowsThatItIsToldAndNoOthers) {
  showRows(10);
  int calls = 0;
  page.onSelection("table", [&] { ++calls; });
  page.selectRow("table", 9);
  const std::vector<std::size_t> wanted = {1, 2, 5};
  page.selectRows("table", wanted);
  EXPECT_EQ(page.selectedRows("table"), wanted);
  page.selectRows("table", {4, 10});
  EXPECT_EQ(page.selectedRows("table"), std::vector<std::size_t>{4});
  page.selectRows("table", {});
  EXPECT_TRUE(page.selectedRows("table").empty());
  EXPECT_EQ(calls, 0);
}

TEST_F(PageTableTest, OpensARowWithEnter) {
  showRows(3);
  int calls = 0;
  page.onAction("table", [&] { ++calls; });
  page.selectRow("table", 1);
  test.press(&view, Qt::Key_Return);
  EXPECT_EQ(calls, 1);
}

TEST_F(PageTableTest, LetsTheTabKeyOutOfIt) {
  showRows(3);
  EXPECT_FALSE(view.tabKeyNavigation());
}

TEST_F(PageTableTest, KeepsTheSelectionWhenAsManyRowsAreOthers) {
  showRows(5);
  page.selectRow("table", 4);
  page.rowsChanged("table");
  EXPECT_EQ(page.selectedRows("table"), std::vector<std::size_t>{4});
  rows->setCount(3);
  page.rowsChanged("table");
  EXPECT_TRUE(page.selectedRows("table").empty());
  EXPECT_EQ(view.model()->rowCount(), 3);
}

TEST_F(PageTableTest, SelectsNoRowThatIsNotThere) {
  showRows(2);
  page.selectRow("table", 2);
  EXPECT_TRUE(page.selectedRows("table").empty());
}

TEST_F(PageTableTest, SaysTheSignOfARowInWords) {
  showRows(2);
  EXPECT_EQ(view.model()->index(0, 0).data(Qt::AccessibleTextRole).toString().toStdString(),
            "Threat: file 0\\xff");
  EXPECT_FALSE(view.model()->index(0, 0).data(Qt::DecorationRole).isNull());
  EXPECT_TRUE(view.model()->index(0, 1).data(Qt::DecorationRole).isNull());
}

TEST_F(PageTableTest, IsReadOutAsATable) {
  showRows(2);
  QAccessibleInterface* const spoken = QAccessible::queryAccessibleInterface(&view);
  ASSERT_NE(spoken, nullptr);
  EXPECT_EQ(spoken->role(), QAccessible::Table);
  EXPECT_EQ(spoken->text(QAccessible::Name), "Table");
  ASSERT_NE(spoken->tableInterface(), nullptr);
  EXPECT_EQ(spoken->tableInterface()->cellAt(1, 0)->text(QAccessible::Name).toStdString(),
            "Threat: file 1\\xff");
}

TEST_F(PageTableTest, AsksRowsThatCannotBeReadOnlyOnce) {
  showRows(0);
  rows->setCount(million);
  rows->isBroken = true;
  page.rowsChanged("table");
  view.grab();
  EXPECT_EQ(rows->asked, 1);
  rows->isBroken = false;
  page.rowsChanged("table");
  EXPECT_EQ(shownAt(0).toStdString(), "file 0\\xff");
}

TEST_F(PageTableTest, HasNoRowsWithoutAny) {
  page.setRows("table", {"Name"}, nullptr);
  EXPECT_EQ(view.model()->rowCount(), 0);
}

}  // namespace
}  // namespace quillo
