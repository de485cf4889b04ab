#pragma once

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <functional>
#include <memory>

namespace quillo {

// The XEmbed system tray of an X11 display (System Tray Protocol, freedesktop.org). Main thread.
class XEmbedTray final : public QAbstractNativeEventFilter {
 public:
  // Empty when the application is not on X11. `arrived` is called for every tray that comes up
  // later.
  static std::unique_ptr<XEmbedTray> onThisDisplay(std::function<void()> arrived);
  ~XEmbedTray() override;

  bool isThere() const;

  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

 private:
  XEmbedTray(xcb_connection_t* connection, std::function<void()> arrived);
  xcb_atom_t atom(const char* name) const;

  xcb_connection_t* connection_;
  xcb_atom_t selection_;
  xcb_atom_t manager_;
  std::function<void()> arrived_;
};

}  // namespace quillo
