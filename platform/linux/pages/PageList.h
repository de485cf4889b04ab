#pragma once

#include <QIcon>
#include <QListWidget>
#include <QString>
#include <vector>

namespace quillo {

// The list of pages at the side of the main window: as wide as its titles, with pictures in the
// colours of the text. Main thread.
class PageList final : public QListWidget {
 public:
  explicit PageList(const QString& accessibleName);

  // Appends a row. Of `shape` only what it covers counts; an empty one is no picture.
  void add(const QString& title, const QIcon& shape, const QString& toolTip);

 protected:
  // Follows a desktop that changes its colours.
  void changeEvent(QEvent* event) override;

 private:
  void paintIcons();

  std::vector<QIcon> shapes_;
};

}  // namespace quillo
