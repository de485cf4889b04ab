#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/Image.h"
#include "platform/Page.h"
#include "platform/SystemLog.h"
#include "platform/linux/pages/PageTable.h"

namespace quillo {

// What pages use; outlives them.
struct PageServices {
  ImageLoader& imageLoader;
  SystemLog& systemLog;
  RowMarks rowMarks;
};

// A page made of the widgets of an interface file. They belong to whoever shows them, and go before
// the page does. Main thread.
class QtPage final : public Page {
 public:
  QtPage(std::string name, QWidget& root, const PageServices& services);
  QtPage(const QtPage&) = delete;
  QtPage& operator=(const QtPage&) = delete;

  // From now on nobody is called.
  void silence();

  void setText(const std::string& widget, const std::string& text) override;
  std::string text(const std::string& widget) override;
  void setEnabled(const std::string& widget, bool enabled) override;
  void setVisible(const std::string& widget, bool visible) override;
  void setImage(const std::string& widget, const std::string& image) override;
  void setChecked(const std::string& widget, bool checked) override;
  bool isChecked(const std::string& widget) override;
  void setNumber(const std::string& widget, std::int64_t number) override;
  std::int64_t number(const std::string& widget) override;
  void setChoices(const std::string& widget, const std::vector<std::string>& choices,
                  std::size_t chosen) override;
  std::size_t choice(const std::string& widget) override;
  void setProgress(const std::string& widget, std::uint64_t done, std::uint64_t all) override;
  void setRows(const std::string& widget, const std::vector<std::string>& titles,
               std::shared_ptr<TableRows> rows) override;
  void rowsChanged(const std::string& widget) override;
  std::vector<std::size_t> selectedRows(const std::string& widget) override;
  void selectRow(const std::string& widget, std::size_t row) override;
  void selectRows(const std::string& widget, const std::vector<std::size_t>& rows) override;
  void markTitle(const std::string& widget, std::size_t column, bool isAscending) override;
  void onAction(const std::string& widget, Action action) override;
  void onSelection(const std::string& widget, Action action) override;
  void onTitle(const std::string& widget, std::function<void(std::size_t column)> pressed) override;
  void onDrop(const std::string& widget,
              std::function<void(const std::vector<std::string>&)> dropped) override;
  void focus(const std::string& widget) override;

 private:
  // What a widget was set to, and what it showed then.
  struct Shown {
    std::string bytes;
    QString text;
  };

  // Null, and logged once, when there is none of that name, or not of that kind.
  QWidget* find(const std::string& name);
  template <typename Kind>
  Kind* find(const std::string& name);
  PageTable* table(const std::string& name);
  void complain(const std::string& name, const char* what);

  // Constant after construction.
  const std::string name_;
  QWidget& root_;
  const PageServices& services_;

  std::map<std::string, QWidget*> widgets_;
  std::set<std::string> complaints_;
  std::map<std::string, Shown> shown_;
  std::map<std::string, std::unique_ptr<PageTable>> tables_;
  std::map<std::string, Action> actions_;
  std::map<std::string, std::function<void(const std::vector<std::string>&)>> drops_;
};

}  // namespace quillo
