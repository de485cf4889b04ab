#include "tests/desktop/support/bus/StatusItemBus.h"

namespace quillo {
namespace {

constexpr const char* watcher = "org.kde.StatusNotifierWatcher";
constexpr const char* item = "org.kde.StatusNotifierItem";
constexpr int patienceInMilliseconds = 10000;

std::string printed(GVariant* value) {
  if (!value) {
    return "";
  }
  gchar* text = g_variant_print(value, FALSE);
  std::string copy = text;
  g_free(text);
  g_variant_unref(value);
  return copy;
}

void appeared(GDBusConnection*, const gchar*, const gchar*, gpointer flag) {
  *static_cast<bool*>(flag) = true;
}
void vanished(GDBusConnection*, const gchar*, gpointer flag) { *static_cast<bool*>(flag) = true; }

}  // namespace

StatusItemBus::Context::Context() : context_(g_main_context_new()) {
  g_main_context_push_thread_default(context_);
}

StatusItemBus::Context::~Context() {
  g_main_context_pop_thread_default(context_);
  g_main_context_unref(context_);
}

StatusItemBus::StatusItemBus(const std::string& address) : connection_(address) {
  count("NewIcon", pictureChanges_);
  count("NewToolTip", toolTipChanges_);
}

void StatusItemBus::count(const char* signal, int& times) {
  g_dbus_connection_signal_subscribe(
      connection_.get(), nullptr, item, signal, nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant*,
         gpointer counted) { ++*static_cast<int*>(counted); },
      &times, nullptr);
}

GVariant* StatusItemBus::call(const std::string& name, const char* path, const char* interface,
                              const char* method, GVariant* arguments) {
  return g_dbus_connection_call_sync(connection_.get(), name.c_str(), path, interface, method,
                                     arguments, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START,
                                     patienceInMilliseconds, nullptr, nullptr);
}

void StatusItemBus::awaitName(const char* name, bool owned) {
  bool isSo = false;
  const guint watch = g_bus_watch_name_on_connection(
      connection_.get(), name, G_BUS_NAME_WATCHER_FLAGS_NONE, owned ? appeared : nullptr,
      owned ? nullptr : vanished, &isSo, nullptr);
  while (!isSo) {
    g_main_context_iteration(context_.get(), TRUE);
  }
  g_bus_unwatch_name(watch);
}

void StatusItemBus::awaitOwner(const char* name) { awaitName(name, true); }
void StatusItemBus::awaitNoOwner(const char* name) { awaitName(name, false); }

std::vector<std::string> StatusItemBus::statusItems() {
  GVariant* reply = call(watcher, "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties",
                         "Get", g_variant_new("(ss)", watcher, "RegisteredStatusNotifierItems"));
  std::vector<std::string> items;
  if (!reply) {
    return items;
  }
  GVariant* value = nullptr;
  g_variant_get(reply, "(v)", &value);
  for (gsize i = 0; i < g_variant_n_children(value); ++i) {
    const gchar* entry = nullptr;
    g_variant_get_child(value, i, "&s", &entry);
    const std::string text = entry;
    items.push_back(text.substr(0, text.find('/')));
  }
  g_variant_unref(value);
  g_variant_unref(reply);
  return items;
}

std::string StatusItemBus::menuLayout(const std::string& name) {
  const gchar* const properties[] = {"label", "enabled", "visible", "type", nullptr};
  return printed(call(name, "/MenuBar", "com.canonical.dbusmenu", "GetLayout",
                      g_variant_new("(ii^as)", 0, -1, properties)));
}

std::string StatusItemBus::property(const std::string& name, const std::string& property) {
  return printed(call(name, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                      g_variant_new("(ss)", item, property.c_str())));
}

// The answer to a question comes behind the signals that were sent before it.
void StatusItemBus::takeInSignals(const std::string& name) {
  property(name, "Status");
  while (g_main_context_iteration(context_.get(), FALSE)) {
  }
}

int StatusItemBus::pictureChanges(const std::string& name) {
  takeInSignals(name);
  return pictureChanges_;
}

int StatusItemBus::toolTipChanges(const std::string& name) {
  takeInSignals(name);
  return toolTipChanges_;
}

}  // namespace quillo
