#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <string>
#include <vector>

namespace quillo {

// What somebody asks of the main application that runs.
struct CompanionRequest {
  std::string page = {};                // "" for the one that it shows anyway
  std::vector<std::string> paths = {};  // to be scanned, in bytes
  // What the desktop hands on with a start, by which it knows that its user asked for the window
  // (XDG Activation, Startup Notification; freedesktop.org).
  std::string activationToken = {};
  std::string startupId = {};
};

// Carries it out, and returns "", or why it cannot: a reason for people.
using CompanionRequested = std::function<std::string(const CompanionRequest& request)>;

// What desktops ask of an application that is started again (org.freedesktop.Application, Desktop
// Entry 1.5, freedesktop.org): its actions are its pages, and files that it is to open are scanned.
// What cannot be done is answered with the error org.vantrel.Vantrel.Error.NotDone and the reason.
class CompanionInterface final : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
  CompanionInterface(QObject& object, QDBusConnection bus, CompanionRequested requested);

 public Q_SLOTS:
  void Activate(const QVariantMap& platformData, const QDBusMessage& call);
  void Open(const QStringList& uris, const QVariantMap& platformData, const QDBusMessage& call);
  void ActivateAction(const QString& action, const QVariantList& parameter,
                      const QVariantMap& platformData, const QDBusMessage& call);

 private:
  void request(CompanionRequest what, const QVariantMap& platformData, const QDBusMessage& call);

  QDBusConnection bus_;
  const CompanionRequested requested_;
};

// The main application on the session bus: name org.vantrel.Vantrel, object /org/vantrel/Vantrel.
// Main thread.
class CompanionObject final : public QObject {
  Q_OBJECT

 public:
  CompanionObject(const QDBusConnection& bus, CompanionRequested requested);

  // Returns false when another process of this session has the name already.
  bool claimName();
  // Asks the one that has the name, and waits for its answer. Returns "", or why it does not.
  std::string askOther(const CompanionRequest& request);

 private:
  QDBusConnection bus_;
};

}  // namespace quillo
