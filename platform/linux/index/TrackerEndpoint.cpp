#include "platform/linux/index/TrackerEndpoint.h"

#include <QDBusArgument>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QSocketNotifier>
#include <QVariantMap>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include "platform/linux/session/BusDaemon.h"
#include "posix/Pipe.h"

namespace quillo {
namespace {

constexpr char service[] = "org.freedesktop.Tracker3.Miner.Files";
constexpr char path[] = "/org/freedesktop/Tracker3/Endpoint";
constexpr char interface[] = "org.freedesktop.Tracker3.Endpoint";
constexpr char fileGraph[] = "http://tracker.api.gnome.org/ontology/v3/tracker#FileSystem";
// Milliseconds; an index that is just being made is slow.
constexpr int longestWait = 300000;
constexpr int mostColumns = 16;

// One question on its way: the reply says whether it was understood, a pipe brings the rows. It
// goes when both have come.
class Question final : public QObject {
 public:
  Question(QObject* parent, PipeReader rows, TrackerEndpoint::AnswerHandler handler)
      : QObject(parent),
        rows_(std::move(rows)),
        notifier_(rows_.descriptor(), QSocketNotifier::Read),
        handler_(std::move(handler)) {
    connect(&notifier_, &QSocketNotifier::activated, this, [this] { readRows(); });
  }

  void awaitReply(const QDBusPendingCall& call) {
    // The call goes when it is answered, and with it this side's copy of the pipe's writing end.
    whenAnswered(call, *this, [this](const QDBusPendingCall& answer) {
      if (answer.isError()) {
        finish(answer.error().message().toStdString());
        return;
      }
      isUnderstood_ = true;
      finishIfComplete();
    });
  }

 private:
  void readRows() {
    bytes_ += rows_.availableData();
    if (rows_.atEnd()) {
      notifier_.setEnabled(false);
      finishIfComplete();
    }
  }

  void finishIfComplete() {
    if (isUnderstood_ && rows_.atEnd()) {
      finish({});
    }
  }

  void finish(std::string problem) {
    std::vector<TrackerEndpoint::Row> rows;
    if (problem.empty() && !TrackerEndpoint::parseRows(bytes_, rows)) {
      rows.clear();
      problem = "its answer cannot be read";
    }
    notifier_.setEnabled(false);
    deleteLater();
    if (const auto handler = std::exchange(handler_, nullptr)) {
      handler(rows, problem);
    }
  }

  PipeReader rows_;
  QSocketNotifier notifier_;
  TrackerEndpoint::AnswerHandler handler_;
  std::string bytes_;
  bool isUnderstood_ = false;
};

// Takes numbers and values off the front of an answer.
class AnswerReader {
 public:
  explicit AnswerReader(std::string_view bytes) : rest_(bytes) {}

  bool atEnd() const { return rest_.empty(); }
  std::optional<std::int32_t> number() {
    std::int32_t value = 0;
    if (rest_.size() < sizeof value) {
      return std::nullopt;
    }
    std::memcpy(&value, rest_.data(), sizeof value);
    rest_.remove_prefix(sizeof value);
    return value;
  }
  // `length` bytes and the zero behind them.
  std::optional<std::string> value(std::size_t length) {
    if (rest_.size() <= length || rest_[length] != '\0') {
      return std::nullopt;
    }
    std::string text(rest_.substr(0, length));
    rest_.remove_prefix(length + 1);
    return text;
  }

 private:
  std::string_view rest_;
};

bool takeRow(AnswerReader& reader, TrackerEndpoint::Row& row) {
  const auto columns = reader.number();
  if (!columns || *columns < 1 || *columns > mostColumns) {
    return false;
  }
  for (std::int32_t column = 0; column < *columns; ++column) {
    if (!reader.number()) {
      return false;
    }
  }
  std::vector<std::int32_t> ends;
  for (std::int32_t column = 0; column < *columns; ++column) {
    ends.push_back(reader.number().value_or(-1));
  }
  std::int32_t begin = 0;
  for (const std::int32_t end : ends) {
    auto value = end < begin ? std::nullopt : reader.value(static_cast<std::size_t>(end - begin));
    if (!value) {
      return false;
    }
    row.push_back(std::move(*value));
    begin = end + 1;
  }
  return true;
}

}  // namespace

TrackerEndpoint::TrackerEndpoint(const QDBusConnection& bus)
    : bus_(bus), miner_(service, bus, QDBusServiceWatcher::WatchForRegistration) {}

void TrackerEndpoint::select(const std::string& question, AnswerHandler handler) {
  if (!bus_.isConnected()) {
    handler({}, "there is no session bus");
    return;
  }
  std::optional<Pipe> pipe = Pipe::make();
  std::optional<PipeReader> rows = pipe ? pipe->fileHandleForReading() : std::nullopt;
  if (!rows) {
    handler({}, std::string("cannot create a pipe: ") + std::strerror(errno));
    return;
  }
  QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, "Query");
  {
    const UniqueFd writer = pipe->takeWriter();
    call << QString::fromStdString(question)
         << QVariant::fromValue(QDBusUnixFileDescriptor(writer.get())) << QVariantMap();
  }
  auto* waiting = new Question(this, std::move(*rows), std::move(handler));
  waiting->awaitReply(bus_.asyncCall(call, longestWait));
}

void TrackerEndpoint::observe(ChangeHandler onChange, std::function<void()> onStart) {
  onChange_ = std::move(onChange);
  bus_.connect(service, path, interface, "GraphUpdated", this, SLOT(graphUpdated(QDBusMessage)));
  QObject::connect(&miner_, &QDBusServiceWatcher::serviceRegistered, this, std::move(onStart));
}

void TrackerEndpoint::stopObserving() {
  bus_.disconnect(service, path, interface, "GraphUpdated", this, SLOT(graphUpdated(QDBusMessage)));
  miner_.disconnect(this);
  onChange_ = nullptr;
}

void TrackerEndpoint::graphUpdated(const QDBusMessage& signal) {
  if (!onChange_ || signal.signature() != "sa{ii}" ||
      signal.arguments().at(0).toString() != fileGraph) {
    return;
  }
  // Read by hand: the kinds of change are its keys, and come more than once.
  const auto changes = signal.arguments().at(1).value<QDBusArgument>();
  changes.beginMap();
  while (!changes.atEnd()) {
    int kind = 0;
    int resource = 0;
    changes.beginMapEntry();
    changes >> kind >> resource;
    changes.endMapEntry();
    onChange_({static_cast<Change::Kind>(kind), resource});
  }
  changes.endMap();
}

bool TrackerEndpoint::parseRows(const std::string& bytes, std::vector<Row>& rows) {
  AnswerReader reader(bytes);
  while (!reader.atEnd()) {
    Row row;
    if (!takeRow(reader, row)) {
      return false;
    }
    rows.push_back(std::move(row));
  }
  return true;
}

}  // namespace quillo
