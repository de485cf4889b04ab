#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <vector>

class QDBusServiceWatcher;

namespace quillo {

class XEmbedTray;

// Who shows status icons on this desktop: a panel found over the session bus (StatusNotifierItem,
// freedesktop.org), or an XEmbed tray on X11 where there is none such. Panels come, go and return
// while the agent runs. Main thread.
class TrayHost final : public QObject {
  Q_OBJECT

 public:
  enum class Kind { none, statusNotifier, xEmbed };

  TrayHost();
  ~TrayHost() override;

  // Qt decides for the life of the process how it makes icons when the first one is made, so the
  // kind is stated only when it is sure, and XEmbed stays once it was chosen.
  Kind kind() const { return kind_; }
  // Called at every change; a panel that was replaced by another one is gone first.
  void onChange(std::function<void()> action) { observers_.push_back(std::move(action)); }

 private Q_SLOTS:
  void hostRegistered();

 private:
  void watchSessionBus();
  void askForHosts();
  void waitForPanel();
  void settleForXEmbed();
  void become(Kind kind);

  Kind kind_ = Kind::none;
  bool hasBeenStatusNotifier_ = false;
  bool waitsForPanel_ = false;
  std::vector<std::function<void()>> observers_;
  QDBusServiceWatcher* watcher_ = nullptr;
  std::unique_ptr<XEmbedTray> xEmbedTray_;
};

}  // namespace quillo
