#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/AgentLink.h"

namespace quillo {

class ApplicationLauncher;

// The agent of this session over its bus: who owns the name org.vantrel.VantrelQuillo, as long as
// that is a process of this user. Followed by signals (NameOwnerChanged, StatusChanged); nobody is
// started by asking.
class BusAgentLink final : public QObject, public AgentLink {
  Q_OBJECT

 public:
  // `launcher` starts the agent where the bus has no service file for it. `report` is called with
  // what is wrong with an agent, or one that did not start: lines for the log. One that was started
  // has that long to come.
  BusAgentLink(const QDBusConnection& bus, ApplicationLauncher& launcher,
               std::function<void(const std::string& problem)> report,
               std::chrono::milliseconds longestStart = std::chrono::minutes(2));

  std::optional<AgentStatus> status() const override { return status_; }
  AgentPresence presence() const override { return presence_; }
  void observe(std::function<void()> changed) override;
  Wording refresh() override;
  bool start() override;
  AgentStart lastStart() const override { return start_; }

 private Q_SLOTS:
  void statusChanged(const QDBusMessage& signal);

 private:
  void follow();
  // `answer` is the bus's, to the question who owns the name.
  void takeOwner(const QDBusMessage& answer);
  void ownerChanged(const QString& owner);
  void askWhose(const QString& owner);
  void askStatus(const QString& owner);
  // Takes what an agent said, if it is one that is believed. Returns nothing or why not.
  Wording take(const QDBusMessage& said);
  void become(AgentPresence presence, std::optional<AgentStatus> status = std::nullopt);
  void awaitStart();
  void startBecomes(const AgentStart& start);
  // `reason` is for the log.
  void startFails(const Wording& problem, const std::string& reason);
  void tellObservers();
  QDBusMessage ask(const QString& service, const QString& object, const QString& interface,
                   const QString& member, const QVariantList& arguments);

  QDBusConnection bus_;
  ApplicationLauncher& launcher_;
  const std::function<void(const std::string& problem)> report_;
  QDBusServiceWatcher watcher_;
  QTimer startTimer_;
  bool follows_ = false;
  // Who owns the name, by the name that nobody else can have; it is this user's when `isTrusted_`.
  QString owner_;
  bool isTrusted_ = false;
  AgentPresence presence_ = AgentPresence::unknown;
  std::optional<AgentStatus> status_;
  AgentStart start_;
  std::vector<std::function<void()>> observers_;
};

}  // namespace quillo
