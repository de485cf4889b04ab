#include "platform/linux/pages/PathDrops.h"

#include <QAbstractScrollArea>
#include <QDropEvent>
#include <QMimeData>
#include <cctype>
#include <utility>

#include "platform/linux/services/Guarded.h"
#include "posix/FileUri.h"
#include "posix/Text.h"

namespace quillo {
namespace {

// Not every program encodes all that RFC 3986 wants to be.
std::string strictlyEncoded(std::string_view uri) {
  constexpr std::string_view kept = "-._~/!$&'()*+,;=:@%?#";
  constexpr char digits[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : uri) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80 && (std::isalnum(byte) != 0 || kept.find(c) != std::string_view::npos)) {
      result += c;
    } else {
      result += {'%', digits[byte >> 4U], digits[byte & 0xFU]};
    }
  }
  return result;
}

}  // namespace

// Out of the bytes: as text, a name that is no UTF-8 would be another one.
std::vector<std::string> localPathsIn(const QMimeData& dragged) {
  const std::string list = dragged.data(QStringLiteral("text/uri-list")).toStdString();
  std::vector<std::string> paths;
  for (std::string_view line : split(list, '\n')) {
    while (!line.empty() && (line.back() == '\r' || line.back() == '\0')) {
      line.remove_suffix(1);
    }
    if (line.empty() || line.starts_with('#')) {
      continue;
    }
    const auto path = pathOfFileUri(strictlyEncoded(line));
    if (!path) {
      return {};
    }
    paths.push_back(*path);
  }
  return paths;
}

PathDrops::PathDrops(QWidget& widget, Dropped dropped)
    : QObject(&widget), dropped_(std::move(dropped)) {
  watch(widget);
  if (auto* area = qobject_cast<QAbstractScrollArea*>(&widget)) {
    watch(*area->viewport());
  }
}

void PathDrops::watch(QWidget& widget) {
  widget.setAcceptDrops(true);
  widget.installEventFilter(this);
}

bool PathDrops::eventFilter(QObject* watched, QEvent* event) {
  const bool isDrop = event->type() == QEvent::Drop;
  if (!isDrop && event->type() != QEvent::DragEnter && event->type() != QEvent::DragMove) {
    return QObject::eventFilter(watched, event);
  }
  auto* drop = static_cast<QDropEvent*>(event);
  const std::vector<std::string> paths = localPathsIn(*drop->mimeData());
  if (paths.empty()) {
    return QObject::eventFilter(watched, event);
  }
  // They stay where they are, whatever the desktop proposes.
  drop->setDropAction(Qt::CopyAction);
  drop->accept();
  if (isDrop) {
    guarded([&] { dropped_(paths); });
  }
  return true;
}

}  // namespace quillo
