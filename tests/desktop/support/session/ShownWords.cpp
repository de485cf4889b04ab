#include "tests/desktop/support/session/ShownWords.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr const char* accessible = "org.a11y.atspi.Accessible";
constexpr const char* launcher = "/usr/libexec/at-spi-bus-launcher";
constexpr int patience = 5000;
// Bits of AtspiStateType.
constexpr unsigned active = 1;
constexpr unsigned checked = 4;
constexpr unsigned enabled = 8;
constexpr unsigned focused = 12;
constexpr unsigned showing = 25;

// The address of the bus for screen readers; "" while it is not up.
std::string addressOn(GDBusConnection* session) {
  GVariant* const reply = g_dbus_connection_call_sync(
      session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", nullptr,
      G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NONE, patience, nullptr, nullptr);
  if (!reply) {
    return "";
  }
  const gchar* address = nullptr;
  g_variant_get(reply, "(&s)", &address);
  std::string result = address;
  g_variant_unref(reply);
  return result;
}

// Where a line may be broken (U+200B) nothing is read.
bool contains(const std::string& text, const std::string& words) {
  return replacingAll(text, "\u200b", "").find(words) != std::string::npos;
}

}  // namespace

ShownWords::ShownWords(UserSession& session)
    : launcher_(session.startCommand({launcher, "--launch-immediately"})) {
  session.bus().awaitOwner("org.a11y.Bus");
  const std::string address = addressOn(BusConnection(session.busAddress()).get());
  if (address.empty()) {
    throw std::runtime_error("there is no bus for screen readers");
  }
  connection_.emplace(address);
}

GVariant* ShownWords::call(const Node& node, const char* interface, const char* method,
                           GVariant* arguments) {
  return g_dbus_connection_call_sync(connection_->get(), node.owner.c_str(), node.path.c_str(),
                                     interface, method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE,
                                     patience, nullptr, nullptr);
}

std::string ShownWords::property(const Node& node, const char* name) {
  GVariant* const reply =
      call(node, "org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", accessible, name));
  if (!reply) {
    return "";
  }
  GVariant* value = nullptr;
  g_variant_get(reply, "(v)", &value);
  std::string result = g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)
                           ? g_variant_get_string(value, nullptr)
                           : "";
  g_variant_unref(value);
  g_variant_unref(reply);
  return result;
}

std::string ShownWords::wordsOf(const Node& node) {
  GVariant* const reply =
      call(node, "org.a11y.atspi.Text", "GetText", g_variant_new("(ii)", 0, -1));
  if (!reply) {
    return "";
  }
  const gchar* text = nullptr;
  g_variant_get(reply, "(&s)", &text);
  std::string result = text;
  g_variant_unref(reply);
  return result;
}

std::vector<ShownWords::Node> ShownWords::childrenOf(const Node& node) {
  std::vector<Node> children;
  GVariant* const reply = call(node, accessible, "GetChildren", nullptr);
  if (!reply) {
    return children;
  }
  GVariantIter* each = nullptr;
  g_variant_get(reply, "(a(so))", &each);
  const gchar* owner = nullptr;
  const gchar* path = nullptr;
  while (g_variant_iter_next(each, "(&s&o)", &owner, &path)) {
    children.push_back({owner, path});
  }
  g_variant_iter_free(each);
  g_variant_unref(reply);
  return children;
}

std::optional<unsigned> ShownWords::statesOf(const Node& node) {
  GVariant* const reply = call(node, accessible, "GetState", nullptr);
  if (!reply) {
    return std::nullopt;
  }
  guint32 low = 0;
  GVariantIter* words = nullptr;
  g_variant_get(reply, "(au)", &words);
  g_variant_iter_next(words, "u", &low);
  g_variant_iter_free(words);
  g_variant_unref(reply);
  return low;
}

std::string ShownWords::roleOf(const Node& node) {
  GVariant* const reply = call(node, accessible, "GetRoleName", nullptr);
  if (!reply) {
    return "";
  }
  const gchar* name = nullptr;
  g_variant_get(reply, "(&s)", &name);
  std::string role = name;
  g_variant_unref(reply);
  return role;
}

void ShownWords::collect(const Node& node, std::vector<Part>& found) {
  const unsigned states = statesOf(node).value_or(0);
  const auto has = [states](unsigned bit) { return (states >> bit & 1U) != 0; };
  if (!has(showing)) {
    return;
  }
  Part part;
  part.role = roleOf(node);
  part.name = property(node, "Name");
  part.description = property(node, "Description");
  if (part.role == "text" || part.role == "label") {
    part.text = wordsOf(node);
  }
  part.isEnabled = has(enabled);
  part.isFocused = has(focused);
  part.isChecked = has(checked);
  found.push_back(std::move(part));
  for (const Node& child : childrenOf(node)) {
    collect(child, found);
  }
}

std::vector<ShownWords::Part> ShownWords::parts() {
  std::vector<Part> found;
  for (const Node& application :
       childrenOf({"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"})) {
    for (const Node& window : childrenOf(application)) {
      collect(window, found);
    }
  }
  return found;
}

bool ShownWords::say(const std::string& words) {
  const std::vector<Part> now = parts();
  return std::any_of(now.begin(), now.end(), [&](const Part& part) {
    return contains(part.name, words) || contains(part.text, words) ||
           contains(part.description, words);
  });
}

bool ShownWords::offer(const std::string& button) {
  const std::vector<Part> now = parts();
  return std::any_of(now.begin(), now.end(), [&](const Part& part) {
    return part.role == "push button" && part.name == button && part.isEnabled;
  });
}

bool ShownWords::hasKeyboard(const std::string& name) {
  const std::vector<Part> now = parts();
  return std::any_of(now.begin(), now.end(),
                     [&](const Part& part) { return part.isFocused && part.name == name; });
}

std::optional<ShownWords::Part> ShownWords::activeWindow() {
  for (const Node& application :
       childrenOf({"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"})) {
    for (const Node& window : childrenOf(application)) {
      if ((statesOf(window).value_or(0) >> active & 1U) != 0) {
        Part part;
        part.role = roleOf(window);
        part.name = property(window, "Name");
        return part;
      }
    }
  }
  return std::nullopt;
}

std::string ShownWords::keyboardIsAt() {
  std::string result;
  for (const Part& part : parts()) {
    result += part.isFocused ? part.role + " " + part.name + " " + part.text + "\n" : "";
  }
  return result;
}

std::string ShownWords::all() {
  std::string result;
  for (const Part& part : parts()) {
    result += part.role + " | " + part.name + " | " + part.text + " | " + part.description +
              (part.isEnabled ? "" : " | off") + (part.isFocused ? " | keyboard" : "") + "\n";
  }
  return result;
}

}  // namespace quillo
