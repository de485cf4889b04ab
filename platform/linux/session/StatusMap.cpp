#include "platform/linux/session/StatusMap.h"

#include <QByteArrayList>
#include <QDBusArgument>
#include <QDBusMetaType>
#include <type_traits>

#include "platform/linux/text/VisibleText.h"

namespace quillo {
namespace {

// More than any honest agent says: its watch list is written by a person.
constexpr qsizetype longestText = 16384;
constexpr qsizetype mostPaths = 10000;

QByteArrayList pathsFor(const std::vector<std::string>& paths) {
  QByteArrayList bytes;
  for (const std::string& path : paths) {
    bytes.append(QByteArray::fromStdString(path));
  }
  return bytes;
}

// Nested in a variant, a list of byte arrays arrives as what it is made of.
std::optional<QByteArrayList> pathsIn(const QVariant& value) {
  if (value.userType() != qMetaTypeId<QDBusArgument>()) {
    return std::nullopt;
  }
  const auto argument = value.value<QDBusArgument>();
  return argument.currentSignature() == QLatin1String("aay")
             ? std::optional(qdbus_cast<QByteArrayList>(argument))
             : std::nullopt;
}

class Reader {
 public:
  explicit Reader(const QVariantMap& map) : map_(map) {}

  bool isGood() const { return isGood_; }

  template <typename Number>
  void take(const char* key, Number& number) {
    const QVariant value = map_.value(key);
    if (value.userType() == qMetaTypeId<Number>()) {
      number = value.value<Number>();
    } else {
      refuse(key);
    }
  }
  void take(const char* key, std::uint64_t& number) { takeAs<qulonglong>(key, number); }
  void take(const char* key, std::int64_t& number) { takeAs<qlonglong>(key, number); }
  void takeText(const char* key, std::string& text) {
    QString value;
    takeAs<QString>(key, value);
    if (value.size() > longestText) {
      isGood_ = false;
    } else if (map_.contains(key)) {
      text = value.toStdString();
    }
  }
  void takePath(const char* key, std::string& path) {
    QByteArray value;
    takeAs<QByteArray>(key, value);
    if (value.size() > longestText) {
      isGood_ = false;
    } else if (map_.contains(key)) {
      path = value.toStdString();
    }
  }
  void takePaths(const char* key, std::vector<std::string>& paths) {
    if (!map_.contains(key)) {
      return;
    }
    const auto values = pathsIn(map_.value(key));
    if (!values || values->size() > mostPaths) {
      isGood_ = false;
      return;
    }
    paths.clear();
    for (const QByteArray& value : *values) {
      isGood_ = isGood_ && value.size() <= longestText;
      paths.push_back(value.toStdString());
    }
  }

 private:
  template <typename Carried, typename Value>
  void takeAs(const char* key, Value& value) {
    Carried carried = {};
    take(key, carried);
    if (isGood_ && map_.contains(key)) {
      value = static_cast<Value>(carried);
    }
  }
  void refuse(const char* key) { isGood_ = isGood_ && !map_.contains(key); }

  const QVariantMap& map_;
  bool isGood_ = true;
};

}  // namespace

QVariantMap statusMap(const AgentStatus& status) {
  // Qt carries lists of byte arrays in no other way. A second time changes nothing.
  qDBusRegisterMetaType<QByteArrayList>();
  return {
      {"version", status.version},
      {"program", displayText(status.program)},
      {"state", displayText(status.state)},
      {"words", displayText(status.words)},
      {"attention", displayText(status.attention)},
      {"filesBeingScanned", qulonglong{status.filesBeingScanned}},
      {"scanningSince", qlonglong{status.scanningSince}},
      {"watchingSince", qlonglong{status.watchingSince}},
      {"watchedFolders", QVariant::fromValue(pathsFor(status.watchedFolders))},
      {"missingFolders", QVariant::fromValue(pathsFor(status.missingFolders))},
      {"placesWithGaps", qulonglong{status.placesWithGaps}},
      {"definitionsBuilt", qlonglong{status.definitionsBuilt}},
      {"definitionFolder", QByteArray::fromStdString(status.definitionFolder)},
      {"updating", status.updating},
      {"engine", QByteArray::fromStdString(status.engine)},
      {"verdicts", qulonglong{status.verdicts}},
      {"historyProblem", displayText(status.historyProblem)},
      {"foundRecently", qulonglong{status.foundRecently}},
      {"notScannedRecently", qulonglong{status.notScannedRecently}},
  };
}

std::optional<AgentStatus> statusIn(const QVariantMap& map) {
  AgentStatus status;
  Reader reader(map);
  reader.take("version", status.version);
  reader.takeText("program", status.program);
  reader.takeText("state", status.state);
  reader.takeText("words", status.words);
  reader.takeText("attention", status.attention);
  reader.take("filesBeingScanned", status.filesBeingScanned);
  reader.take("scanningSince", status.scanningSince);
  reader.take("watchingSince", status.watchingSince);
  reader.takePaths("watchedFolders", status.watchedFolders);
  reader.takePaths("missingFolders", status.missingFolders);
  reader.take("placesWithGaps", status.placesWithGaps);
  reader.take("definitionsBuilt", status.definitionsBuilt);
  reader.takePath("definitionFolder", status.definitionFolder);
  reader.take("updating", status.updating);
  reader.takePath("engine", status.engine);
  reader.take("verdicts", status.verdicts);
  reader.takeText("historyProblem", status.historyProblem);
  reader.take("foundRecently", status.foundRecently);
  reader.take("notScannedRecently", status.notScannedRecently);
  const bool hasVersion = map.contains("version") && status.version > 0;
  return reader.isGood() && hasVersion ? std::optional(status) : std::nullopt;
}

}  // namespace quillo
