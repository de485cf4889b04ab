#include <gtest/gtest.h>

#include <vector>

#include "platform/linux/notifications/NotificationQueue.h"
#include "tests/support/ManualClock.h"

namespace quillo {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Texts = std::vector<std::string>;

class NotificationQueueTest : public testing::Test {
 protected:
  void add(const std::string& name, const std::string& text) { queue.add({name, name, text}); }
  void addFind(const std::string& name, const std::string& text) {
    GrowlNotification find{name, name, text};
    find.details.isFind = true;
    queue.add(find);
  }
  void addMany(int count) {
    for (int i = 0; i < count; ++i) {
      add("found", std::to_string(i));
    }
  }
  // Shows all that may be shown now, as a server does at once.
  Texts show() {
    Texts texts;
    while (const auto next = queue.takeNext()) {
      texts.push_back(next->notification.description);
      replaced.push_back(next->replacesId);
      queue.shown(*next, next->replacesId != 0 ? next->replacesId : ++ids);
    }
    return texts;
  }

  PassingClock clock;
  NotificationQueue queue{clock, [](std::uint64_t count) { return "+" + std::to_string(count); }};
  std::uint32_t ids = 100;
  std::vector<std::uint32_t> replaced;
};

TEST_F(NotificationQueueTest, ShowsAFewAtOnceAndInTheirOrder) {
  EXPECT_EQ(queue.untilNext(), std::nullopt);
  addMany(5);
  EXPECT_EQ(queue.untilNext(), Clock::Duration());
  EXPECT_EQ(show(), (Texts{"0", "1", "2", "3", "4"}));
  EXPECT_EQ(queue.untilNext(), std::nullopt);
}

TEST_F(NotificationQueueTest, ShowsAThousandAsFiveAndOneThatCounts) {
  addMany(1000);
  EXPECT_EQ(show().size(), 5U);
  EXPECT_EQ(queue.untilNext(), Clock::Duration(seconds(1)));
  clock.advance(seconds(1));
  EXPECT_EQ(show(), Texts{"+995"});
  EXPECT_EQ(queue.untilNext(), std::nullopt);
}

TEST_F(NotificationQueueTest, BringsTheCountUpToDateInPlaceOnceASecond) {
  addMany(6);
  show();
  clock.advance(seconds(1));
  EXPECT_EQ(show(), Texts{"+1"});
  const std::uint32_t id = ids;
  for (int second = 0; second < 3; ++second) {
    for (int i = 0; i < 10; ++i) {
      clock.advance(milliseconds(99));
      addMany(1);
      EXPECT_EQ(show(), Texts());
    }
    clock.advance(milliseconds(10));
    EXPECT_EQ(show(), Texts{"+" + std::to_string(11 + 10 * second)});
    EXPECT_EQ(replaced.back(), id);
  }
}

TEST_F(NotificationQueueTest, BeginsAnewAfterAQuietTime) {
  addMany(10);
  show();
  clock.advance(seconds(1));
  show();
  clock.advance(milliseconds(3999));
  addMany(1);
  EXPECT_EQ(show(), Texts{"+6"});
  clock.advance(seconds(5));
  addMany(6);
  EXPECT_EQ(show().size(), 5U);
  clock.advance(seconds(1));
  // A new count, in nobody's place: the one of the first burst still stands.
  EXPECT_EQ(show(), Texts{"+1"});
  EXPECT_EQ(replaced.back(), 0U);
}

TEST_F(NotificationQueueTest, DoesNotLetOneKindHideAnother) {
  addMany(1000);
  add("Error", "the engine died");
  EXPECT_EQ(show().back(), "the engine died");
}

TEST_F(NotificationQueueTest, LetsMalwareGoBeforeWhateverElseWaits) {
  add("Error", "no definitions");
  add("Error", "no network");
  addFind("found", "malware");
  EXPECT_EQ(show(), (Texts{"malware", "no definitions", "no network"}));
}

TEST_F(NotificationQueueTest, HidesNoMalwareBehindHintsOfTheSameName) {
  for (int i = 0; i < 10; ++i) {
    add("Error", "hint");
  }
  addFind("Error", "malware");
  EXPECT_EQ(show().front(), "malware");
}

TEST_F(NotificationQueueTest, HidesNoMalwareBehindHintsThatWaitForASlowServer) {
  for (std::size_t i = 0; i <= NotificationQueue::mostWaiting; ++i) {
    add(std::to_string(i), "hint");
  }
  addFind("found", "malware");
  EXPECT_EQ(show().front(), "malware");
}

TEST_F(NotificationQueueTest, ForgetsWhatIsOverBeforeItWasShown) {
  GrowlNotification hint{"Error", "Error", "no definitions"};
  hint.details.topic = "definitions";
  queue.add(hint);
  add("Error", "no network");
  queue.withdraw("definitions");
  queue.withdraw("");
  EXPECT_EQ(show(), Texts{"no network"});
}

TEST_F(NotificationQueueTest, LosesNoneOfTheCountWhileTheServerIsSlow) {
  for (int burst = 0; burst < 20; ++burst) {
    addMany(5);
    clock.advance(seconds(6));
  }
  const Texts shown = show();
  EXPECT_EQ(shown.size(), NotificationQueue::mostWaiting + 1);
  EXPECT_EQ(shown.back(), "+80");
  EXPECT_EQ(queue.untilNext(), std::nullopt);
}

TEST_F(NotificationQueueTest, ReplacesNothingOfAServerThatIsGone) {
  addMany(6);
  show();
  clock.advance(seconds(1));
  show();
  queue.forgetIds();
  addMany(1);
  clock.advance(seconds(1));
  EXPECT_EQ(show(), Texts{"+2"});
  EXPECT_EQ(replaced.back(), 0U);
}

TEST(NotificationTextTest, EscapesMarkupOnlyForAServerThatHasIt) {
  EXPECT_EQ(notificationBody("<b>a & b</b>&lt;", true), "&lt;b&gt;a &amp; b&lt;/b&gt;&amp;lt;");
  EXPECT_EQ(notificationBody("<b>a & b</b>", false), "<b>a & b</b>");
}

TEST(NotificationTextTest, ShowsBytesThatAreNoTextAndKeepsLines) {
  EXPECT_EQ(notificationBody("/x/\xff\x1b\nsecond", true), "/x/\\xff\\x1b\nsecond");
  EXPECT_EQ(notificationTitle("one\ntwo"), "one\\ntwo");
}

TEST(NotificationTextTest, CutsALongPathInItsMiddle) {
  const std::string body =
      notificationBody("/home/" + std::string(100000, '<') + "/name.exe", true);
  EXPECT_EQ(body.substr(0, 10), "/home/&lt;");
  EXPECT_NE(body.find("…"), std::string::npos);
  EXPECT_EQ(body.substr(body.size() - 9), "/name.exe");
  EXPECT_LT(notificationBody(std::string(100000, 'x'), false).size(), 1010U);
  EXPECT_LT(notificationBody(std::string(100000, '\xff'), false).size(), 1010U);
}

}  // namespace
}  // namespace quillo
