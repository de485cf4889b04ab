#pragma once

#include <QObject>
#include <functional>
#include <string>
#include <vector>

class QMimeData;
class QWidget;

namespace quillo {

// Returns the local files and folders that are named by what is dragged ("text/uri-list", RFC 2483,
// with URIs as pathOfFileUri() takes them); whatever else is in it is passed over.
std::vector<std::string> localPathsIn(const QMimeData& dragged);

// Takes files and folders that are dropped on a widget, also where it would take the drop itself as
// text; lives as long as the widget. Main thread.
class PathDrops final : public QObject {
  Q_OBJECT

 public:
  using Dropped = std::function<void(const std::vector<std::string>& paths)>;

  PathDrops(QWidget& widget, Dropped dropped);

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void watch(QWidget& widget);

  const Dropped dropped_;
};

}  // namespace quillo
