#include "platform/linux/session/CompanionObject.h"

#include <QDBusError>
#include <utility>

#include "platform/linux/services/Guarded.h"
#include "posix/FileUri.h"

namespace quillo {
namespace {

constexpr char name[] = "org.vantrel.Vantrel";
constexpr char path[] = "/org/vantrel/Vantrel";
constexpr char interface[] = "org.freedesktop.Application";
constexpr char notDone[] = "org.vantrel.Vantrel.Error.NotDone";
constexpr int longestAnswer = 10000;  // milliseconds
const QString tokenKey = QStringLiteral("activation-token");
const QString startupKey = QStringLiteral("desktop-startup-id");

QVariantMap platformDataOf(const CompanionRequest& request) {
  QVariantMap data;
  if (!request.activationToken.empty()) {
    data[tokenKey] = QString::fromStdString(request.activationToken);
  }
  if (!request.startupId.empty()) {
    data[startupKey] = QString::fromStdString(request.startupId);
  }
  return data;
}

QDBusMessage callFor(const CompanionRequest& request) {
  const auto call = [](const char* method) {
    return QDBusMessage::createMethodCall(name, path, interface, method);
  };
  const QVariantMap data = platformDataOf(request);
  if (!request.paths.empty()) {
    QStringList uris;
    for (const std::string& each : request.paths) {
      uris.append(QString::fromStdString("file://" + percentEncodedPath(each)));
    }
    return call("Open") << uris << data;
  }
  if (!request.page.empty()) {
    return call("ActivateAction") << QString::fromStdString(request.page) << QVariantList() << data;
  }
  return call("Activate") << data;
}

}  // namespace

CompanionInterface::CompanionInterface(QObject& object, QDBusConnection bus,
                                       CompanionRequested requested)
    : QDBusAbstractAdaptor(&object), bus_(std::move(bus)), requested_(std::move(requested)) {}

void CompanionInterface::Activate(const QVariantMap& platformData, const QDBusMessage& call) {
  request({}, platformData, call);
}

void CompanionInterface::Open(const QStringList& uris, const QVariantMap& platformData,
                              const QDBusMessage& call) {
  CompanionRequest what;
  for (const QString& uri : uris) {
    const auto found = pathOfFileUri(uri.toStdString());
    if (!found) {
      // Whoever asked for all of them is not to believe that they were all scanned.
      call.setDelayedReply(true);
      bus_.send(call.createErrorReply(notDone, uri + ": this is no file of this machine"));
      return;
    }
    what.paths.push_back(*found);
  }
  request(std::move(what), platformData, call);
}

void CompanionInterface::ActivateAction(const QString& action, const QVariantList&,
                                        const QVariantMap& platformData, const QDBusMessage& call) {
  CompanionRequest what;
  what.page = action.toStdString();
  request(std::move(what), platformData, call);
}

void CompanionInterface::request(CompanionRequest what, const QVariantMap& platformData,
                                 const QDBusMessage& call) {
  what.activationToken = platformData.value(tokenKey).toString().toStdString();
  what.startupId = platformData.value(startupKey).toString().toStdString();
  std::string problem = "it failed";
  guarded([&] { problem = requested_(what); });
  if (!problem.empty()) {
    call.setDelayedReply(true);
    bus_.send(call.createErrorReply(notDone, QString::fromStdString(problem)));
  }
}

CompanionObject::CompanionObject(const QDBusConnection& bus, CompanionRequested requested)
    : bus_(bus) {
  new CompanionInterface(*this, bus_, std::move(requested));
  // Before the name is claimed, so that nobody finds the name without the object.
  bus_.registerObject(path, this, QDBusConnection::ExportAdaptors);
}

bool CompanionObject::claimName() { return bus_.registerService(name); }

std::string CompanionObject::askOther(const CompanionRequest& request) {
  for (const std::string& chosen : request.paths) {
    // The first part of any other would be taken for a host.
    if (!chosen.starts_with('/') || chosen.starts_with("//")) {
      return chosen + ": where this lies cannot be told";
    }
  }
  QDBusMessage call = callFor(request);
  // A third one that were started for the answer would ask in its turn.
  call.setAutoStartService(false);
  const QDBusMessage answer = bus_.call(call, QDBus::Block, longestAnswer);
  return answer.type() == QDBusMessage::ReplyMessage ? "" : answer.errorMessage().toStdString();
}

}  // namespace quillo
