#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <QDBusArgument>
#include <QDBusUnixFileDescriptor>
#include <cstdint>
#include <cstring>

#include "platform/linux/index/TrackerQuery.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"

namespace quillo {
namespace {

constexpr char service[] = "org.freedesktop.Tracker3.Miner.Files";
constexpr char path[] = "/org/freedesktop/Tracker3/Endpoint";
constexpr char interface[] = "org.freedesktop.Tracker3.Endpoint";
constexpr char fileGraph[] = "http://tracker.api.gnome.org/ontology/v3/tracker#FileSystem";
constexpr char everything[] = "(kMDItemFSName != '*/Library/Logs/VantrelQuillo-scan.log'c)";

using Lines = std::vector<std::string>;
using Row = TrackerEndpoint::Row;

std::string inBytes(std::int32_t number) {
  std::string bytes(sizeof number, '\0');
  std::memcpy(bytes.data(), &number, sizeof number);
  return bytes;
}

std::string inBytes(const Row& row) {
  const auto columns = static_cast<std::int32_t>(row.size());
  std::string types;
  std::string ends;
  std::string values;
  for (const std::string& value : row) {
    values += value;
    types += inBytes(1);
    ends += inBytes(static_cast<std::int32_t>(values.size()));
    values += '\0';
  }
  return inBytes(columns) + types + ends + values;
}

// A miner whose index is what the test says: a row for every file, by number, URI and dates.
struct FakeMiner {
  FakeMiner() : object(bus, path) {
    signal(SIGPIPE, SIG_IGN);
    object.answer("Query", [this](const QDBusMessage& call) { return answerOf(call); });
    object.own(service);
  }

  QDBusMessage answerOf(const QDBusMessage& call) {
    const std::string question = call.arguments().at(0).toString().toStdString();
    questions.push_back(question);
    // The rows end only when nobody holds their pipe any more.
    object.forgetCalls();
    if (!refusal.isEmpty()) {
      return call.createErrorReply(QDBusError::Failed, refusal);
    }
    std::string bytes = garbage;
    for (const Row& row : question.starts_with("ASK") ? std::vector<Row>{{"true"}} : rows) {
      bytes += inBytes(row);
    }
    const auto output = call.arguments().at(1).value<QDBusUnixFileDescriptor>();
    // Nobody may be there to read it.
    [[maybe_unused]] const auto ignored =
        write(output.fileDescriptor(), bytes.data(), bytes.size());
    return call.createReply(QStringList{"file"});
  }
  // What happened to which of its files: 0 created, 1 deleted, 2 updated.
  void report(const std::vector<std::pair<int, int>>& changes, const QString& graph = fileGraph) {
    QDBusArgument list;
    list.beginMap(QMetaType(QMetaType::Int), QMetaType(QMetaType::Int));
    for (const auto& [kind, number] : changes) {
      list.beginMapEntry();
      list << kind << number;
      list.endMapEntry();
    }
    list.endMap();
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, "GraphUpdated");
    signal << graph << QVariant::fromValue(list);
    bus->send(signal);
  }

  TestBus bus;
  FakeBusObject object;
  std::vector<Row> rows;
  Lines questions;
  QString refusal;
  std::string garbage;
};

class TrackerQueryTest : public testing::Test {
 protected:
  TrackerQueryTest() {
    for (const char* name :
         {metadataQueryDidFinish, metadataQueryProgress, metadataQueryDidUpdate}) {
      query->addObserver(name, [this](const MetadataNotification& reported) { take(reported); });
    }
    query->setSearchScope("/home/anna");
  }

  void take(const MetadataNotification& reported) {
    names.push_back(reported.name);
    for (const MetadataItem& item : reported.addedItems) {
      added.push_back(item.path.value_or("-"));
      items.push_back(item);
    }
    for (const MetadataItem& item : reported.changedItems) {
      changed.push_back(item.path.value_or("-"));
      items.push_back(item);
    }
  }
  void gather() {
    query->execute(MetadataQuery::wantsUpdates);
    ASSERT_TRUE(waitUntil([this] { return query->isGatheringComplete(); }));
  }
  // Until everything has come that was sent before.
  bool waitForUpdate() {
    return waitUntil([this] { return !names.empty() && names.back() == metadataQueryDidUpdate; });
  }

  TestBus bus;
  Lines problems;
  TrackerQueries queries{*bus, [this](const std::string& text) { problems.push_back(text); }};
  std::unique_ptr<MetadataQuery> query = queries.create(everything);
  Lines names;
  Lines added;
  Lines changed;
  std::vector<MetadataItem> items;
};

TEST_F(TrackerQueryTest, FinishesGatheringAndReportsNothingOfIt) {
  FakeMiner miner;
  miner.rows = {{"7", "file:///home/anna/a", "", ""}};
  EXPECT_FALSE(query->isGatheringComplete());
  gather();
  EXPECT_EQ(names, (Lines{metadataQueryProgress, metadataQueryDidFinish}));
  EXPECT_TRUE(items.empty());
  EXPECT_TRUE(problems.empty());
}

TEST_F(TrackerQueryTest, ReportsAMinerThatIsNotThereInOneLine) {
  query->execute(MetadataQuery::wantsUpdates);
  ASSERT_TRUE(waitUntil([this] { return !problems.empty(); }));
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_TRUE(problems[0].starts_with(
      "Changes in /home/anna/ are not told by the index of files: Tracker's file miner does not "
      "answer: "));
  EXPECT_FALSE(query->isGatheringComplete());
  EXPECT_TRUE(names.empty());
}

TEST_F(TrackerQueryTest, ReportsABusThatIsNotThere) {
  TrackerQueries elsewhere(QDBusConnection("there is no such connection"),
                           [this](const std::string& text) { problems.push_back(text); });
  const auto other = elsewhere.create(everything);
  other->setSearchScope("/");
  other->execute(MetadataQuery::wantsUpdates);
  EXPECT_EQ(problems, Lines{"Changes in / are not told by the index of files: Tracker's file miner "
                            "does not answer: there is no session bus"});
}

TEST_F(TrackerQueryTest, FindsAMinerThatStartsLater) {
  query->execute(MetadataQuery::wantsUpdates);
  ASSERT_TRUE(waitUntil([this] { return !problems.empty(); }));
  FakeMiner miner;
  ASSERT_TRUE(waitUntil([this] { return query->isGatheringComplete(); }));
  miner.rows = {{"7", "file:///home/anna/a", "", ""}};
  miner.report({{0, 7}});
  ASSERT_TRUE(waitForUpdate());
  EXPECT_EQ(added, Lines{"/home/anna/a"});
  EXPECT_EQ(problems.size(), 1U);
}

TEST_F(TrackerQueryTest, ReportsAddedAndChangedItemsWithTheirDates) {
  FakeMiner miner;
  gather();
  miner.rows = {{"7", "file:///home/anna/new", "1970-01-01T00:00:10Z", "1970-01-01T00:00:20Z"},
                {"8", "file:///home/anna/%C3%A4%20%FF%25", "1970-01-01T01:00:10+01:00", ""}};
  miner.report({{0, 7}, {2, 7}, {2, 8}, {2, 8}});
  ASSERT_TRUE(waitForUpdate());
  EXPECT_EQ(added, Lines{"/home/anna/new"});
  EXPECT_EQ(changed, Lines{"/home/anna/\xC3\xA4 \xFF%"});
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].lastUsedDate, MetadataItem::Date(std::chrono::seconds(10)));
  EXPECT_EQ(items[0].contentChangeDate, MetadataItem::Date(std::chrono::seconds(20)));
  EXPECT_EQ(items[1].lastUsedDate, MetadataItem::Date(std::chrono::seconds(10)));
  EXPECT_EQ(items[1].contentChangeDate, std::nullopt);
  ASSERT_EQ(miner.questions.size(), 2U);
  EXPECT_NE(miner.questions[1].find("IN (7, 8)"), std::string::npos);
}

TEST_F(TrackerQueryTest, ReportsOnlyWhatLiesInItsScope) {
  FakeMiner miner;
  gather();
  miner.rows = {{"1", "file:///home/anna", "", ""},  {"2", "file:///home/anna2/a", "", ""},
                {"3", "file:///home/a", "", ""},     {"4", "file:///home/anna/deep/er", "", ""},
                {"5", "http://home/anna/a", "", ""}, {"6", "", "", ""},
                {"7", "file:///home/anna/cut"}};
  miner.report({{0, 1}});
  ASSERT_TRUE(waitForUpdate());
  EXPECT_EQ(added, Lines());
  EXPECT_EQ(changed, Lines{"/home/anna/deep/er"});
}

TEST_F(TrackerQueryTest, LeavesTheScanLogOut) {
  FakeMiner miner;
  gather();
  miner.rows = {{"1", "file:///home/anna/Library/Logs/VantrelQuillo-scan.log", "", ""},
                {"2", "file:///home/anna/x/LIBRARY/logs/VantrelQuillo-scan.LOG", "", ""},
                {"3", "file:///home/anna/VantrelQuillo-scan.log", "", ""}};
  miner.report({{2, 1}, {2, 2}, {2, 3}});
  ASSERT_TRUE(waitForUpdate());
  EXPECT_EQ(changed, Lines{"/home/anna/VantrelQuillo-scan.log"});
}

TEST_F(TrackerQueryTest, AsksForNothingThatWasDeletedOrBelongsToAnotherGraph) {
  FakeMiner miner;
  gather();
  miner.report({{0, 1}, {2, 2}, {1, 1}, {1, 2}, {9, 3}});
  miner.report({{0, 4}}, "http://tracker.api.gnome.org/ontology/v3/tracker#Documents");
  miner.rows = {{"5", "file:///home/anna/a", "", ""}};
  miner.report({{0, 5}});
  ASSERT_TRUE(waitForUpdate());
  ASSERT_EQ(miner.questions.size(), 2U);
  EXPECT_NE(miner.questions[1].find("IN (5)"), std::string::npos);
}

TEST_F(TrackerQueryTest, KeepsUpdatesBackWhileTheyAreDisabled) {
  FakeMiner miner;
  gather();
  query->disableUpdates();
  query->disableUpdates();
  miner.rows = {{"1", "file:///home/anna/a", "", ""}};
  miner.report({{0, 1}});
  ASSERT_TRUE(waitUntil([&] { return miner.questions.size() == 2; }));
  miner.rows = {{"2", "file:///home/anna/b", "", ""}};
  miner.report({{0, 2}});
  ASSERT_TRUE(waitUntil([&] { return miner.questions.size() == 3; }));
  miner.rows = {{"3", "file:///home/anna/c", "", ""}};
  miner.report({{0, 3}});
  ASSERT_TRUE(waitUntil([&] { return miner.questions.size() == 4; }));
  query->enableUpdates();
  EXPECT_EQ(names.size(), 2U);
  query->enableUpdates();
  EXPECT_EQ(names.size(), 2U);
  ASSERT_TRUE(waitUntil([this] { return added.size() == 3; }));
  EXPECT_EQ(added, (Lines{"/home/anna/a", "/home/anna/b", "/home/anna/c"}));
}

TEST_F(TrackerQueryTest, MayBeDisabledWhileItReports) {
  FakeMiner miner;
  query->addObserver(metadataQueryDidUpdate, [this](const MetadataNotification& reported) {
    query->disableUpdates();
    take(reported);
    query->enableUpdates();
  });
  gather();
  miner.rows = {{"1", "file:///home/anna/a", "", ""}};
  miner.report({{0, 1}});
  ASSERT_TRUE(waitForUpdate());
  miner.report({{2, 1}});
  EXPECT_TRUE(waitUntil([this] { return changed.size() == 1; }));
}

TEST_F(TrackerQueryTest, ReportsNothingOnceItIsStopped) {
  FakeMiner miner;
  gather();
  miner.rows = {{"1", "file:///home/anna/a", "", ""}};
  miner.report({{0, 1}});
  // The question is on its way.
  ASSERT_TRUE(waitUntil([&] { return miner.questions.size() == 2; }));
  query->stop();
  miner.report({{0, 1}});
  // The next answer comes behind everything that could have been reported.
  names.clear();
  gather();
  ASSERT_TRUE(waitUntil([this] { return names.size() == 2; }));
  EXPECT_TRUE(items.empty());
  EXPECT_EQ(miner.questions.size(), 3U);
}

TEST_F(TrackerQueryTest, ReportsNoUpdatesThatNobodyWants) {
  FakeMiner miner;
  query->execute(0);
  ASSERT_TRUE(waitUntil([this] { return query->isGatheringComplete(); }));
  miner.report({{0, 1}});
  query->execute(MetadataQuery::wantsUpdates);
  ASSERT_TRUE(waitUntil([this] { return query->isGatheringComplete(); }));
  EXPECT_EQ(miner.questions.size(), 2U);
}

TEST_F(TrackerQueryTest, ReportsWhatChangesDuringTheGatheringBehindIt) {
  FakeMiner miner;
  miner.object.neverAnswer("Query");
  query->execute(MetadataQuery::wantsUpdates);
  ASSERT_TRUE(waitUntil([&] { return miner.object.callsOf("Query").size() == 1; }));
  miner.report({{0, 1}});
  miner.rows = {{"1", "file:///home/anna/a", "", ""}};
  miner.object.answer("Query", [&](const QDBusMessage& call) { return miner.answerOf(call); });
  (*miner.bus).send(miner.answerOf(QDBusMessage(miner.object.callsOf("Query")[0])));
  ASSERT_TRUE(waitForUpdate());
  EXPECT_EQ(names, (Lines{metadataQueryProgress, metadataQueryDidFinish, metadataQueryDidUpdate}));
  EXPECT_EQ(added, Lines{"/home/anna/a"});
}

TEST_F(TrackerQueryTest, ReportsAnAnswerThatItCannotHaveAndGoesOn) {
  FakeMiner miner;
  gather();
  miner.refusal = "no memory";
  miner.report({{0, 1}});
  ASSERT_TRUE(waitUntil([this] { return problems.size() == 1; }));
  EXPECT_EQ(problems[0],
            "What changed in /home/anna/ cannot be had from the index of files: no memory");
  miner.refusal.clear();
  miner.garbage = "x";
  miner.report({{0, 1}});
  ASSERT_TRUE(waitUntil([this] { return problems.size() == 2; }));
  EXPECT_EQ(problems[1],
            "What changed in /home/anna/ cannot be had from the index of files: its answer cannot "
            "be read");
  miner.garbage.clear();
  miner.rows = {{"1", "file:///home/anna/a", "", ""}};
  miner.report({{2, 1}});
  EXPECT_TRUE(waitForUpdate());
}

TEST_F(TrackerQueryTest, AsksForAtMostFiveHundredAtATime) {
  FakeMiner miner;
  gather();
  std::vector<std::pair<int, int>> changes;
  for (int number = 1; number <= 1001; ++number) {
    changes.emplace_back(number % 2 == 0 ? 0 : 2, number);
  }
  miner.report(changes);
  EXPECT_TRUE(waitUntil([&] { return miner.questions.size() == 4; }));
}

TEST_F(TrackerQueryTest, MayEndWhileItIsAsking) {
  FakeMiner miner;
  query->execute(MetadataQuery::wantsUpdates);
  query.reset();
  ASSERT_TRUE(waitUntil([&] { return miner.questions.size() == 1; }));
  EXPECT_TRUE(names.empty());
}

TEST_F(TrackerQueryTest, IsNotMadeFromATextThatIsNotUnderstood) {
  EXPECT_EQ(queries.create("(kMDItemPath == '*')"), nullptr);
}

TEST(TrackerAnswer, IsCutIntoRowsAndValues) {
  std::vector<Row> rows;
  EXPECT_TRUE(TrackerEndpoint::parseRows("", rows));
  EXPECT_TRUE(rows.empty());
  EXPECT_TRUE(TrackerEndpoint::parseRows(inBytes(Row{"7", "", "text"}) + inBytes(Row{"8"}), rows));
  EXPECT_EQ(rows, (std::vector<Row>{{"7", "", "text"}, {"8"}}));
}

TEST(TrackerAnswer, IsRefusedWhereverItIsCutOff) {
  const std::string whole = inBytes(Row{"7", "text"});
  for (std::size_t length = 1; length < whole.size(); ++length) {
    std::vector<Row> rows;
    EXPECT_FALSE(TrackerEndpoint::parseRows(whole.substr(0, length), rows)) << length;
  }
}

TEST(TrackerAnswer, IsRefusedWithLengthsThatCannotBe) {
  const std::string one = inBytes(1);
  for (const std::string& bytes :
       {inBytes(0), inBytes(-1), inBytes(1000000), one + one + inBytes(-1) + "x",
        one + one + inBytes(0x7FFFFFFF) + "x", one + one + one + "xy",
        inBytes(2) + one + one + inBytes(0x7FFFFFFF) + inBytes(-0x7FFFFFFF) + "xx"}) {
    std::vector<Row> rows;
    EXPECT_FALSE(TrackerEndpoint::parseRows(bytes, rows));
  }
}

}  // namespace
}  // namespace quillo
