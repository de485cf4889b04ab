#include <gtest/gtest.h>

#include <QDropEvent>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QTableView>
#include <QUrl>

#include "platform/linux/pages/PathDrops.h"
#include "tests/desktop/support/pages/WindowUnderTest.h"

namespace quillo {
namespace {

using Paths = std::vector<std::string>;

class PathDropsTest : public testing::Test {
 protected:
  PathDropsTest() { test.window.show("everything"); }

  // Returns true when the widget takes it.
  static bool drop(QWidget* target, const QMimeData& dragged) {
    QDragEnterEvent enter(QPoint(2, 2), Qt::CopyAction | Qt::MoveAction, &dragged, Qt::LeftButton,
                          {});
    QCoreApplication::sendEvent(target, &enter);
    QDropEvent event(QPointF(2, 2), Qt::CopyAction | Qt::MoveAction, &dragged, Qt::LeftButton, {});
    event.setDropAction(Qt::MoveAction);
    event.setAccepted(false);
    QCoreApplication::sendEvent(target, &event);
    return enter.isAccepted() && event.isAccepted() && event.dropAction() == Qt::CopyAction;
  }
  static void setList(QMimeData& dragged, const QByteArray& list) {
    dragged.setData("text/uri-list", list);
  }
  void listen(const std::string& widget) {
    page.onDrop(widget, [this](const Paths& paths) { dropped = paths; });
  }

  WindowUnderTest test;
  Page& page = test.window.page("everything");
  QMimeData dragged;
  Paths dropped;
};

TEST_F(PathDropsTest, AreTakenByTheirBytes) {
  listen("group");
  setList(dragged, "# a comment\r\nfile:///tmp/a%FFb%0A\r\nfile://localhost/x\r\n");
  EXPECT_TRUE(drop(test.find<QWidget>("group"), dragged));
  EXPECT_EQ(dropped, (Paths{"/tmp/a\xff"
                            "b\n",
                            "/x"}));
}

TEST_F(PathDropsTest, AreNotTakenInPart) {
  listen("group");
  setList(dragged, "file:///tmp/a\r\nsftp://server/b\r\n");
  EXPECT_FALSE(drop(test.find<QWidget>("group"), dragged));
  EXPECT_TRUE(dropped.empty());
}

TEST_F(PathDropsTest, AreTakenAsFileManagersOfThisDesktopSpellThem) {
  listen("page");
  const QString name = QStringLiteral("/tmp/ä [1] {2} 50% #?;&'\"^|.txt");
  dragged.setUrls({QUrl::fromLocalFile(name)});
  EXPECT_TRUE(drop(test.find<QWidget>("page"), dragged));
  EXPECT_EQ(dropped, Paths{name.toStdString()});
}

TEST_F(PathDropsTest, AreTakenAlsoWhereTextWouldBe) {
  for (const char* name : {"line", "words", "table", "list"}) {
    dropped.clear();
    listen(name);
    setList(dragged, "file:///tmp/x\r\n");
    QWidget* target = test.find<QWidget>(name);
    if (auto* area = qobject_cast<QAbstractScrollArea*>(target)) {
      target = area->viewport();
    }
    EXPECT_TRUE(drop(target, dragged)) << name;
    EXPECT_EQ(dropped, Paths{"/tmp/x"}) << name;
  }
}

TEST_F(PathDropsTest, OfOtherThingsAreNotTaken) {
  listen("group");
  setList(dragged, "https://vantrel.org/\r\nfile://elsewhere/x\r\nfile:relative\r\n");
  EXPECT_FALSE(drop(test.find<QWidget>("group"), dragged));
  EXPECT_TRUE(dropped.empty());
}

}  // namespace
}  // namespace quillo
