#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/Page.h"
#include "platform/linux/pages/QtPage.h"

class QLabel;
class QScrollArea;
class QStackedWidget;
class QWidget;

namespace quillo {

class LocalizedStrings;
class PageList;

// A window with the list of its pages at the side, which keys choose, too: Ctrl and the number of a
// page in the list. Main thread.
class QtMainWindow final : public MainWindow {
 public:
  struct Services {
    ImageLoader& imageLoader;
    LocalizedStrings& localizedStrings;
    SystemLog& systemLog;
  };

  // Pages come out of interface files in `folder`. `sizeFile` is where the window finds the size
  // that it had last, and leaves it; "" for nowhere.
  QtMainWindow(std::string folder, std::string sizeFile, const Services& services);
  ~QtMainWindow() override;
  QtMainWindow(const QtMainWindow&) = delete;
  QtMainWindow& operator=(const QtMainWindow&) = delete;

  Page& page(const std::string& name) override;
  void addToList(const std::string& name, const std::string& title) override;
  void show(const std::string& name) override;
  std::string shownPage() const override { return shown_; }
  void onShown(const std::string& name, std::function<void()> action) override;
  void onClose(std::function<bool()> mayClose) override;
  void close() override;
  void copy(const std::string& text) override;
  void ask(const Question& question, std::function<void(std::size_t)> answered) override;
  void chooseFolders(const std::string& title, const std::string& where,
                     std::function<void(const std::vector<std::string>&)> chosen) override;
  void chooseFiles(const std::string& title, const std::string& where,
                   std::function<void(const std::vector<std::string>&)> chosen) override;

  // Has `action` called when the window has been closed.
  void onClosed(std::function<void()> action) { onClosed_ = std::move(action); }
  // Brings it to the front, with what the desktop said of who asked for that.
  void raise();
  QWidget& widget();

 private:
  struct Place {
    std::unique_ptr<QtPage> page;
    QScrollArea* area = nullptr;
    std::function<void()> shown;
    std::string title;
  };
  class Frame;

  void arrange();
  bool mayClose();
  void listChose(int row);
  // Shows it in the window as it stands.
  void turnTo(const std::string& name);

  // Constant after construction.
  const std::string folder_;
  const std::string sizeFile_;
  LocalizedStrings& strings_;
  PageServices pageServices_;

  std::map<std::string, Place> places_;
  std::vector<std::string> listed_;
  std::vector<std::function<bool()>> mayClose_;
  std::function<void()> onClosed_;
  std::string shown_;
  // Its children before the pages that they call.
  std::unique_ptr<Frame> frame_;
  PageList* list_ = nullptr;
  QLabel* heading_ = nullptr;
  QStackedWidget* stack_ = nullptr;
};

}  // namespace quillo
