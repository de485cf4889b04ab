#pragma once

#include <string>
#include <vector>

#include "tests/desktop/support/bus/BusConnection.h"

namespace quillo {

// The status item as a panel has it over D-Bus (StatusNotifierItem; com.canonical.dbusmenu).
class StatusItemBus {
 public:
  explicit StatusItemBus(const std::string& address);
  StatusItemBus(const StatusItemBus&) = delete;
  StatusItemBus& operator=(const StatusItemBus&) = delete;

  // Waits until somebody has that name.
  void awaitOwner(const char* name);
  // Waits until nobody has that name any more.
  void awaitNoOwner(const char* name);
  // The bus names of the items that the panel knows.
  std::vector<std::string> statusItems();
  // The menu of an item, in GVariant's text format.
  std::string menuLayout(const std::string& name);
  std::string property(const std::string& name, const std::string& property);
  // How often an item has said so far that it has another picture.
  int pictureChanges(const std::string& name);
  // Likewise of its tool tip.
  int toolTipChanges(const std::string& name);

 private:
  void awaitName(const char* name, bool owned);
  void count(const char* signal, int& times);
  void takeInSignals(const std::string& name);
  GVariant* call(const std::string& name, const char* path, const char* interface,
                 const char* method, GVariant* arguments);

  // Where the signals of the connection arrive.
  class Context {
   public:
    Context();
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    GMainContext* get() const { return context_; }

   private:
    GMainContext* const context_;
  };

  const Context context_;
  const BusConnection connection_;
  int pictureChanges_ = 0;
  int toolTipChanges_ = 0;
};

}  // namespace quillo
