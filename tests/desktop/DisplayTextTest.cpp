#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QTextDocument>

#include "platform/linux/text/VisibleText.h"

namespace quillo {
namespace {

TEST(DisplayText, IsPlainWhateverTheBytes) {
  EXPECT_EQ(displayText("a\xff\n\xe2\x80\xaez").toStdString(), "a\\xff\\n\\u202ez");
  EXPECT_EQ(displayText("no\xd8\x9cth\xe2\x80\x8bing").toStdString(), "no\\u061cth\\u200bing");
  EXPECT_EQ(displayLines("two\nlines").toStdString(), "two\nlines");
}

TEST(ToolTipText, IsTakenForMarkupByNobody) {
  for (const char* name : {"<b>bold</b>", "a<br>b", "&lt;i&gt;", "<?xml?>", "<a href='x'>y</a>",
                           "<!-- x -->", "<img src=\"file:///etc/passwd\">", "&#60;b>"}) {
    const QString text = toolTipText(name);
    EXPECT_FALSE(Qt::mightBeRichText(text)) << name;
    EXPECT_FALSE(text.contains(QRegularExpression("<[a-zA-Z/!?]|&[a-zA-Z#]"))) << name;
    QString seen = text;
    EXPECT_EQ(seen.remove(QChar(0x2060)).toStdString(), name);
  }
}

TEST(DisplayText, IsElidedWithoutCuttingACharacterInTwo) {
  EXPECT_EQ(elidedInTheMiddle("short", 5).toStdString(), "short");
  EXPECT_EQ(elidedInTheMiddle("0123456789", 5).toStdString(), "01…89");
  const QString faces = QString::fromUtf8("\xf0\x9f\x98\x80\xf0\x9f\x98\x81\xf0\x9f\x98\x82");
  for (int length = 2; length < faces.size(); ++length) {
    EXPECT_TRUE(elidedInTheMiddle(faces, length).isValidUtf16()) << length;
  }
}

}  // namespace
}  // namespace quillo
