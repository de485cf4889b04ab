#include "tests/root/support/agent/SmallDesktop.h"

#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "posix/Pipe.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

constexpr char busFile[] = "/tmp/small-desktop-bus";
constexpr char busConfiguration[] = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:path=/tmp/small-desktop-bus</listen>
<auth>EXTERNAL</auth><policy context="default"><allow user="*"/><allow own="*"/>
<allow send_destination="*"/><allow receive_sender="*"/></policy></busconfig>)";

constexpr char notificationServer[] = R"(<node><interface name="org.freedesktop.Notifications">
<method name="GetCapabilities"><arg type="as" direction="out"/></method>
<method name="GetServerInformation"><arg type="s" direction="out"/><arg type="s" direction="out"/>
<arg type="s" direction="out"/><arg type="s" direction="out"/></method>
<method name="CloseNotification"><arg type="u" direction="in"/></method>
<method name="Notify"><arg type="s" direction="in"/><arg type="u" direction="in"/>
<arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/>
<arg type="as" direction="in"/><arg type="a{sv}" direction="in"/><arg type="i" direction="in"/>
<arg type="u" direction="out"/></method></interface></node>)";

constexpr char itemWatcher[] = R"(<node><interface name="org.kde.StatusNotifierWatcher">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
<property name="ProtocolVersion" type="i" access="read"/></interface></node>)";

// Starts a server that writes a line to descriptor 3 once it can be reached.
std::unique_ptr<ChildProcess> startServer(const std::string& program,
                                          std::vector<std::string> arguments, std::string& answer) {
  UniqueFd writer;
  PipeReader reader = PipeReader::open(writer);
  LaunchRequest request{program, std::move(arguments), LaunchRequest::Output::discardedStdout};
  request.environment = std::vector<std::string>{"PATH=/usr/bin:/bin", "HOME=/tmp"};
  request.descriptorThree = writer.get();
  auto server = std::make_unique<ChildProcess>(request);
  writer.reset();
  answer = awaitLine(reader);
  return server;
}

// The access key is of no interest here.
std::string withoutMark(std::string label) {
  label.erase(std::remove(label.begin(), label.end(), '_'), label.end());
  return label;
}

// In a menu's layout, (ia{sv}av), com.canonical.dbusmenu.
int findEntry(GVariant* layout, const std::string& wanted) {
  gint32 number = 0;
  GVariant* properties = nullptr;
  GVariant* children = nullptr;
  g_variant_get(layout, "(i@a{sv}@av)", &number, &properties, &children);
  const gchar* label = "";
  gboolean enabled = TRUE;
  g_variant_lookup(properties, "label", "&s", &label);
  g_variant_lookup(properties, "enabled", "b", &enabled);
  int found = withoutMark(label) == wanted && enabled ? number : -1;
  for (gsize at = 0; found < 0 && at < g_variant_n_children(children); ++at) {
    GVariant* child = nullptr;
    g_variant_get_child(children, at, "v", &child);
    found = findEntry(child, wanted);
    g_variant_unref(child);
  }
  g_variant_unref(properties);
  g_variant_unref(children);
  return found;
}

}  // namespace

SmallDesktop::SmallDesktop() : context_(g_main_context_new()) {
  std::string display;
  screen_ = startServer(
      "/usr/bin/Xvfb",
      {"-displayfd", "3", "-screen", "0", "800x600x24", "-ac", "-nolisten", "tcp", "-noreset"},
      display);
  writeFile("/tmp/small-desktop.conf", busConfiguration);
  // Without the mark of one bus among others that its address bears.
  environment_ = {"QT_QPA_PLATFORM=xcb", "DISPLAY=:" + display,
                  std::string("DBUS_SESSION_BUS_ADDRESS=unix:path=") + busFile};
  startBus();
}

SmallDesktop::~SmallDesktop() {
  stopServing();
  g_main_context_unref(context_);
  bus_.reset();
  screen_.reset();
  unlink("/tmp/small-desktop.conf");
}

void SmallDesktop::startBus() {
  unlink(busFile);
  std::string address;
  bus_ = startServer(
      "/usr/bin/dbus-daemon",
      {"--config-file=/tmp/small-desktop.conf", "--nofork", "--nopidfile", "--print-address=3"},
      address);
  serve(address);
}

void SmallDesktop::stopServing() {
  ended_ = true;
  g_main_context_wakeup(context_);
  server_.join();
  g_object_unref(connection_);
}

void SmallDesktop::startBusAgain() {
  stopServing();
  ended_ = false;
  startBus();
}

void SmallDesktop::endBus() {
  g_dbus_connection_set_exit_on_close(connection_, FALSE);
  bus_.reset();
}

void SmallDesktop::endScreen() { screen_.reset(); }

void SmallDesktop::serve(const std::string& address) {
  g_main_context_push_thread_default(context_);
  const auto flags =
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  connection_ =
      g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr);
  if (connection_ == nullptr) {
    throw std::runtime_error("cannot connect to the session bus at " + address);
  }
  offer("org.freedesktop.Notifications", "/org/freedesktop/Notifications", notificationServer);
  offer("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher", itemWatcher);
  g_main_context_pop_thread_default(context_);
  server_.start([this] {
    while (!ended_) {
      g_main_context_iteration(context_, TRUE);
    }
  });
}

void SmallDesktop::offer(const char* name, const char* path, const char* description) {
  static const GDBusInterfaceVTable table = {handleCall, property, nullptr, {}};
  GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(description, nullptr);
  g_dbus_connection_register_object(connection_, path, node->interfaces[0], &table, this, nullptr,
                                    nullptr);
  g_dbus_node_info_unref(node);
  GVariant* reply = g_dbus_connection_call_sync(
      connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "RequestName", g_variant_new("(su)", name, 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
      nullptr);
  if (reply == nullptr) {
    throw std::runtime_error(std::string("cannot own ") + name);
  }
  g_variant_unref(reply);
}

void SmallDesktop::handleCall(GDBusConnection*, const gchar* sender, const gchar*, const gchar*,
                              const gchar* method, GVariant* arguments, GDBusMethodInvocation* call,
                              gpointer self) {
  auto& desktop = *static_cast<SmallDesktop*>(self);
  const std::string name = method;
  GVariant* answer = nullptr;
  if (name == "GetCapabilities") {
    const gchar* const none[] = {"body", nullptr};
    answer = g_variant_new("(^as)", none);
  } else if (name == "GetServerInformation") {
    answer = g_variant_new("(ssss)", "small", "test", "1", "1.2");
  } else if (name == "Notify") {
    desktop.note(arguments);
    answer = g_variant_new("(u)", 1U);
  } else if (name == "RegisterStatusNotifierItem") {
    const std::lock_guard hold(desktop.lock_);
    desktop.statusItem_ = sender;
    desktop.changed_.notify_all();
  }
  g_dbus_method_invocation_return_value(call, answer);
}

GVariant* SmallDesktop::property(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                 const gchar* name, GError**, gpointer) {
  return std::string(name) == "ProtocolVersion" ? g_variant_new_int32(0)
                                                : g_variant_new_boolean(TRUE);
}

void SmallDesktop::note(GVariant* notification) {
  const gchar* title = nullptr;
  const gchar* text = nullptr;
  g_variant_get_child(notification, 3, "&s", &title);
  g_variant_get_child(notification, 4, "&s", &text);
  const std::lock_guard hold(lock_);
  notifications_.push_back(std::string(title) + ": " + text);
  changed_.notify_all();
}

int SmallDesktop::notificationsWith(const std::string& text) const {
  const std::lock_guard hold(lock_);
  return countLocked(text);
}

int SmallDesktop::countLocked(const std::string& text) const {
  return static_cast<int>(std::count_if(
      notifications_.begin(), notifications_.end(),
      [&](const std::string& shown) { return shown.find(text) != std::string::npos; }));
}

bool SmallDesktop::awaitNotification(const std::string& text, int times) {
  std::unique_lock hold(lock_);
  return changed_.wait_for(hold, longestWait, [&] { return countLocked(text) >= times; });
}

std::string SmallDesktop::allNotifications() const {
  const std::lock_guard hold(lock_);
  std::string all;
  for (const std::string& shown : notifications_) {
    all += shown + "\n";
  }
  return all;
}

std::string SmallDesktop::statusItem() const {
  const std::lock_guard hold(lock_);
  return statusItem_;
}

int SmallDesktop::numberOf(const std::string& entry, const std::string& item) const {
  const gchar* const properties[] = {"label", "enabled", nullptr};
  GVariant* reply =
      g_dbus_connection_call_sync(connection_, item.c_str(), "/MenuBar", "com.canonical.dbusmenu",
                                  "GetLayout", g_variant_new("(ii^as)", 0, -1, properties), nullptr,
                                  G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, nullptr);
  if (reply == nullptr) {
    return -1;
  }
  GVariant* layout = g_variant_get_child_value(reply, 1);
  const int number = findEntry(layout, entry);
  g_variant_unref(layout);
  g_variant_unref(reply);
  return number;
}

bool SmallDesktop::choose(const std::string& entry) {
  std::string item;
  int number = -1;
  const bool isThere = awaitThat([&] {
    item = statusItem();
    number = item.empty() ? -1 : numberOf(entry, item);
    return number >= 0;
  });
  if (!isThere) {
    return false;
  }
  GVariant* reply = g_dbus_connection_call_sync(
      connection_, item.c_str(), "/MenuBar", "com.canonical.dbusmenu", "Event",
      g_variant_new("(isvu)", number, "clicked", g_variant_new_string(""), 0U), nullptr,
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
  if (reply != nullptr) {
    g_variant_unref(reply);
  }
  return reply != nullptr;
}

}  // namespace quillo::tests
