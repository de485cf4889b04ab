// What another process of the session says to be the agent's status, a{sv}.

#include <QByteArray>
#include <QDBusMetaType>
#include <QString>
#include <QVariantMap>

#include "platform/linux/session/StatusMap.h"
#include "tests/fuzz/FuzzInput.h"

using namespace quillo;

namespace {

QVariant valueOf(char type, const std::string& text) {
  const auto bytes = QByteArray::fromStdString(text);
  switch (type) {
    case 's':
      return QString::fromUtf8(bytes);
    case 'u':
      return static_cast<uint>(bytes.toLongLong());
    case 't':
      return static_cast<qulonglong>(bytes.toULongLong());
    case 'x':
      return static_cast<qlonglong>(bytes.toLongLong());
    case 'b':
      return !text.empty();
    case 'y':
      return bytes;
    default:
      return QVariant();
  }
}

}  // namespace

// Lines of a key, "=", the letter of a type, and a value.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  QVariantMap map;
  for (std::string_view rest = fuzz::textOf(data, size); !rest.empty();) {
    const std::string line = fuzz::taken(rest, '\n');
    std::string_view value = line;
    const std::string key = fuzz::taken(value, '=');
    if (!value.empty()) {
      map.insert(QString::fromStdString(key), valueOf(value[0], std::string(value.substr(1))));
    }
  }
  const auto status = statusIn(map);
  if (!status) {
    return 0;
  }
  fuzz::mustHold(status->version > 0, "a status has a version");
  fuzz::mustHold(status->definitionFolder.size() <= 16384 && status->engine.size() <= 16384,
                 "no path is longer than one that an agent would say");
  // What is shown of it is what would be shown of that, and so on.
  QVariantMap said = statusMap(*status);
  said.remove("watchedFolders");
  said.remove("missingFolders");
  if (const auto again = statusIn(said)) {
    QVariantMap twice = statusMap(*again);
    twice.remove("watchedFolders");
    twice.remove("missingFolders");
    fuzz::mustHold(again->verdicts == status->verdicts && again->engine == status->engine &&
                       again->scanningSince == status->scanningSince,
                   "numbers and paths are carried as they are");
    const auto third = statusIn(twice);
    fuzz::mustHold(third == again, "what can be shown is carried as it is");
  }
  return 0;
}
