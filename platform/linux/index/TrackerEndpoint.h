#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <functional>
#include <string>
#include <vector>

namespace quillo {

// The index of files as the desktop's miner keeps it, over its D-Bus endpoint
// (org.freedesktop.Tracker3.Endpoint of TinySPARQL, tracker-endpoint-dbus.c). Main thread.
class TrackerEndpoint final : public QObject {
  Q_OBJECT

 public:
  // One row of an answer; what is unbound is empty.
  using Row = std::vector<std::string>;
  // Called once, with the rows, or with the reason why there are none.
  using AnswerHandler =
      std::function<void(const std::vector<Row>& rows, const std::string& problem)>;
  // A resource of the graph of files, by its number in the index.
  struct Change {
    enum class Kind { created = 0, deleted = 1, updated = 2 };
    Kind kind;
    int resource;
  };
  using ChangeHandler = std::function<void(const Change& change)>;

  explicit TrackerEndpoint(const QDBusConnection& bus);

  // Asks a SPARQL question, for which the miner is started where it can be. No answer comes once
  // this object is gone.
  void select(const std::string& question, AnswerHandler handler);
  // Calls `onChange` for every change from now on, and `onStart` when the miner has started.
  void observe(ChangeHandler onChange, std::function<void()> onStart);
  void stopObserving();

  // Appends the rows of a finished answer, of which each is: the number of its columns, as many
  // types, as many ends of values, then the values, each followed by a zero byte. Numbers are 32
  // bits wide, in this machine's byte order. Returns false when it is cut off or made otherwise.
  static bool parseRows(const std::string& bytes, std::vector<Row>& rows);

 private Q_SLOTS:
  void graphUpdated(const QDBusMessage& signal);

 private:
  QDBusConnection bus_;
  QDBusServiceWatcher miner_;
  ChangeHandler onChange_;
};

}  // namespace quillo
