#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>

#include "platform/linux/services/GioPointer.h"

namespace quillo {

// Has this application's windows dark where its user prefers that and Qt does not know of it: asks
// the desktop (org.freedesktop.portal.Settings, else GNOME's own setting) and follows changes. Main
// thread.
class ColorScheme final : public QObject {
  Q_OBJECT

 public:
  explicit ColorScheme(QDBusConnection bus);
  ~ColorScheme() override;

 private Q_SLOTS:
  void settingChanged(const QString& space, const QString& key, const QDBusVariant& value);

 private:
  void ask();
  void followGnome();
  void follow(bool prefersDark);

  QDBusConnection bus_;
  GioPointer<GSettings> gnome_;
  bool isOurs_ = false;
};

}  // namespace quillo
