#include "tests/desktop/support/bus/FakeSystemd.h"

#include <filesystem>
#include <memory>
#include <utility>

#include "posix/Text.h"

namespace quillo {
namespace {

QString objectOf(const std::string& unit) {
  QString path = "/org/freedesktop/systemd1/unit/";
  for (const char c : unit) {
    const bool isPlain = std::isalnum(static_cast<unsigned char>(c)) != 0;
    path += isPlain ? QString(c) : QString("_%1").arg(static_cast<int>(c), 2, 16, QChar('0'));
  }
  return path;
}

std::string unitOf(const QDBusMessage& call) {
  const QVariant first = call.arguments().at(0);
  return (first.typeId() == QMetaType::QStringList ? first.toStringList().at(0) : first.toString())
      .toStdString();
}

}  // namespace

FakeSystemd::FakeSystemd(std::string units, const std::string& busAddress)
    : units_(std::move(units)), bus_(busAddress) {
  qDBusRegisterMetaType<UnitCalendar>();
  qDBusRegisterMetaType<UnitCommand>();
  qDBusRegisterMetaType<UnitCondition>();
  qDBusRegisterMetaType<UnitFileEntry>();
  qDBusRegisterMetaType<UnitJob>();
  qDBusRegisterMetaType<QList<UnitCalendar>>();
  qDBusRegisterMetaType<QList<UnitCommand>>();
  qDBusRegisterMetaType<QList<UnitCondition>>();
  qDBusRegisterMetaType<QList<UnitFileEntry>>();
  on("ListUnitFilesByPatterns", [this](const QDBusMessage& call) { return list(call); });
  on("Reload", [this](const QDBusMessage& call) {
    reload();
    return call.createReply();
  });
  on("LoadUnit", [this](const QDBusMessage& call) {
    answerProperties(unitOf(call));
    return call.createReply(QVariant::fromValue(QDBusObjectPath(objectOf(unitOf(call)))));
  });
  on("EnableUnitFiles", [this](const QDBusMessage& call) {
    enabled.insert(unitOf(call));
    return call.createReply();
  });
  on("DisableUnitFiles", [this](const QDBusMessage& call) {
    enabled.erase(unitOf(call));
    return call.createReply();
  });
  on("RestartUnit", [this](const QDBusMessage& call) {
    jobs_[unitOf(call)] = 10;
    return call.createReply();
  });
  on("StartUnit", [this](const QDBusMessage& call) {
    started.push_back(unitOf(call));
    return call.createReply();
  });
  on("Subscribe", [this](const QDBusMessage& call) {
    isSubscribedTo = true;
    return call.createReply();
  });
  on("StopUnit", [this](const QDBusMessage& call) {
    if (running.erase(unitOf(call)) > 0) {
      return call.createReply();
    }
    return active.erase(unitOf(call)) > 0
               ? call.createReply()
               : call.createErrorReply("org.freedesktop.systemd1.NoSuchUnit", "not loaded");
  });
  reload();
  manager_.own("org.freedesktop.systemd1");
}

void FakeSystemd::on(const QString& member,
                     const std::function<QDBusMessage(const QDBusMessage& call)>& answer) {
  manager_.answer(member, [this, member, answer](const QDBusMessage& call) {
    return member == refuses ? call.createErrorReply(refusal, "not today") : answer(call);
  });
}

void FakeSystemd::sayThatItChanged(const std::string& unit, const QString& state) {
  if (!isSubscribedTo) {
    return;
  }
  QDBusMessage signal = QDBusMessage::createSignal(
      objectOf(unit), "org.freedesktop.DBus.Properties", "PropertiesChanged");
  signal << "org.freedesktop.systemd1.Unit" << QVariantMap{{"ActiveState", state}} << QStringList();
  bus_->send(signal);
}

void FakeSystemd::reload() {
  loaded_.clear();
  for (const auto& entry : std::filesystem::directory_iterator(units_)) {
    Words& words = loaded_[entry.path().filename().string()];
    const std::string text = TemporaryFolder::read(entry.path().string());
    for (const std::string_view line : split(text, '\n')) {
      const std::size_t equals = line.find('=');
      if (equals != std::string_view::npos && !line.starts_with('#')) {
        words[std::string(line.substr(0, equals))] = line.substr(equals + 1);
      }
    }
  }
}

QDBusMessage FakeSystemd::list(const QDBusMessage& call) const {
  QList<UnitFileEntry> entries;
  for (const auto& [name, words] : loaded_) {
    if (name.ends_with(".timer")) {
      entries << UnitFileEntry{QString::fromStdString(units_ + "/" + name),
                               enabled.count(name) > 0 ? "enabled" : "disabled"};
    }
  }
  return call.createReply(QVariant::fromValue(entries));
}

void FakeSystemd::answerProperties(const std::string& unit) {
  auto& object = objects_[unit];
  if (!object) {
    object = std::make_unique<FakeBusObject>(bus_, objectOf(unit));
    object->answer("GetAll", [this, unit](const QDBusMessage& call) {
      workOnJobs();
      return call.createReply(propertiesOf(unit));
    });
  }
}

void FakeSystemd::workOnJobs() {
  for (auto job = jobs_.begin(); job != jobs_.end();) {
    const bool isDone = --job->second == 0;
    if (isDone) {
      active.insert(job->first);
    }
    job = isDone ? jobs_.erase(job) : std::next(job);
  }
}

QVariantMap FakeSystemd::propertiesOf(const std::string& unit) const {
  const auto found = loaded_.find(unit);
  if (found == loaded_.end()) {
    return {{"LoadState", "not-found"}};
  }
  const auto word = [&](const char* key) {
    const auto value = found->second.find(key);
    return value == found->second.end() ? QString() : QString::fromStdString(value->second);
  };
  QList<UnitCondition> conditions;
  if (!word("ConditionACPower").isEmpty()) {
    conditions << UnitCondition{"ConditionACPower", false, false, word("ConditionACPower"), 0};
  }
  QVariantMap map = {
      {"ActiveState", running.count(unit) > 0  ? "activating"
                      : active.count(unit) > 0 ? "active"
                                               : "inactive"},
      {"Conditions", QVariant::fromValue(conditions)},
      {"Job", QVariant::fromValue(UnitJob{jobs_.count(unit) > 0 ? 7U : 0U, QDBusObjectPath("/")})},
      {"ExecMainStartTimestamp", lastStart},
      {"LastTriggerUSec", lastTrigger},
      {"NextElapseUSecRealtime", nextElapse}};
  if (unit.ends_with(".timer")) {
    const QString calendar = editedCalendar.isEmpty() ? word("OnCalendar") : editedCalendar;
    map["TimersCalendar"] =
        QVariant::fromValue(QList<UnitCalendar>{{"OnCalendar", calendar, nextElapse}});
  } else {
    const QStringList words = wordsIn(word("ExecStart").toStdString());
    map["ExecStart"] = QVariant::fromValue(
        QList<UnitCommand>{{words.value(0), words, false, 0, 0, 0, 0, 0, 0, 0}});
  }
  return map;
}

// As systemd.syntax(7) unquotes, as far as words in quotes and plain ones go.
QStringList FakeSystemd::wordsIn(const std::string& line) {
  QStringList words;
  std::string word;
  bool isQuoted = false;
  for (std::size_t i = line.starts_with(':') ? 1 : 0; i <= line.size(); ++i) {
    if (i == line.size() || (line[i] == ' ' && !isQuoted)) {
      words << QString::fromStdString(word);
      word.clear();
    } else if (line[i] == '"') {
      isQuoted = !isQuoted;
    } else if (line.compare(i, 2, "\\x") == 0) {
      word += static_cast<char>(numberIn<int>(std::string_view(line).substr(i + 2, 2), 16).value());
      i += 3;
    } else {
      i += line[i] == '\\' || line[i] == '%' ? 1 : 0;
      word += line[i];
    }
  }
  return words;
}

}  // namespace quillo
