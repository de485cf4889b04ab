#pragma once

#include <gio/gio.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace quillo {

// A connection to a message bus of its own, closed with this object. Throws std::runtime_error when
// there is no bus or it refuses something.
class BusConnection {
 public:
  explicit BusConnection(const std::string& address);
  ~BusConnection();
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  GDBusConnection* get() const { return connection_; }
  // Calls a method of the bus itself and waits for its answer. Takes the arguments.
  void ask(const char* interface, const char* method, GVariant* arguments) const;

 private:
  GDBusConnection* const connection_;
};

// Shows `listener` every message on a bus, whoever it is for
// (org.freedesktop.DBus.Monitoring.BecomeMonitor), on a thread of its own.
class BusTap {
 public:
  using Listener = std::function<void(GDBusMessage* message)>;

  BusTap(const std::string& address, Listener listener);
  BusTap(const BusTap&) = delete;
  BusTap& operator=(const BusTap&) = delete;

 private:
  static GDBusMessage* filter(GDBusConnection* connection, GDBusMessage* message, gboolean incoming,
                              gpointer self);

  const Listener listener_;
  const BusConnection connection_;
};

// Hears every call and every signal on a bus, from its making on. Any thread may ask it.
class BusMonitor {
 public:
  explicit BusMonitor(const std::string& address);

  // Waits until so many calls or signals of that member have been heard whose arguments, in
  // GVariant's text format, hold that text; false after twenty seconds.
  bool hears(const std::string& member, const std::string& text = "", int times = 1);
  int count(const std::string& member, const std::string& text = "");

 private:
  struct Message {
    std::string member;
    std::string arguments;
  };

  void note(GDBusMessage* message);
  int countLocked(const std::string& member, const std::string& text) const;

  std::mutex mutex_;
  std::condition_variable heard_;
  std::vector<Message> messages_;
  const BusTap tap_;
};

// A service that a bus has as long as this object.
class StandInService {
 public:
  // What is answered to a call of a member, a tuple in GVariant's text format; nothing by default.
  using Answers = std::map<std::string, std::string>;

  StandInService(const std::string& address, const std::string& name, Answers answers = {});
  StandInService(const StandInService&) = delete;
  StandInService& operator=(const StandInService&) = delete;

 private:
  static GDBusMessage* answer(GDBusConnection* connection, GDBusMessage* message, gboolean incoming,
                              gpointer self);

  const Answers answers_;
  const BusConnection connection_;
};

}  // namespace quillo
