#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/desktop/support/session/PrivateSession.h"

namespace quillo {

// A connection of its own to a bus, the private one as a rule, closed with this object.
class TestBus {
 public:
  explicit TestBus(const std::string& address = PrivateSession::busAddress())
      : name_(QStringLiteral("test%1").arg(++count())),
        connection_(QDBusConnection::connectToBus(QString::fromStdString(address), name_)) {}
  ~TestBus() { QDBusConnection::disconnectFromBus(name_); }
  TestBus(const TestBus&) = delete;
  TestBus& operator=(const TestBus&) = delete;

  QDBusConnection& operator*() { return connection_; }
  QDBusConnection* operator->() { return &connection_; }

 private:
  static int& count() {
    static int value = 0;
    return value;
  }

  const QString name_;
  QDBusConnection connection_;
};

// An object of a service that does not exist here: records every call by its member, and answers as
// the test says; a member without an answer never gets one.
class FakeBusObject : public QDBusVirtualObject {
 public:
  using Answer = std::function<QDBusMessage(const QDBusMessage& call)>;

  FakeBusObject(TestBus& bus, const QString& path) : bus_(bus) {
    bus_->registerVirtualObject(path, this);
  }

  bool own(const QString& name) { return bus_->registerService(name); }
  bool disown(const QString& name) { return bus_->unregisterService(name); }
  void answer(const QString& member, Answer answer) { answers_[member] = std::move(answer); }
  void answerWith(const QString& member, const QVariantList& values) {
    answer(member, [values](const QDBusMessage& call) { return call.createReply(values); });
  }
  void neverAnswer(const QString& member) { answers_.erase(member); }

  std::vector<QDBusMessage> callsOf(const QString& member) const {
    std::vector<QDBusMessage> result;
    for (const QDBusMessage& call : calls_) {
      if (call.member() == member) {
        result.push_back(call);
      }
    }
    return result;
  }

  // Gives up what the calls so far brought along, such as descriptors.
  void forgetCalls() { calls_.clear(); }

  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& call, const QDBusConnection& connection) override {
    calls_.push_back(call);
    const auto found = answers_.find(call.member());
    if (found != answers_.end()) {
      connection.send(found->second(call));
    } else {
      call.setDelayedReply(true);
    }
    return true;
  }

 private:
  TestBus& bus_;
  std::map<QString, Answer> answers_;
  std::vector<QDBusMessage> calls_;
};

}  // namespace quillo
