#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quillo {

// What a table shows. Asked for the rows that are on the screen and for no others, so that a
// million cost no more than a hundred. Main thread.
class TableRows {
 public:
  // What a row is marked with, by a sign and not by colour alone.
  enum class Sign { none, good, warning, threat };
  struct Row {
    std::vector<std::string> cells;  // any bytes, one a column
    Sign sign = Sign::none;
  };

  virtual ~TableRows() = default;
  virtual std::size_t count() = 0;
  // `row` is smaller than count().
  virtual Row row(std::size_t row) = 0;
};

// One page of the main window. Its widgets are those of its interface file, by their object names;
// a name that is not there is logged and does nothing. Texts are any bytes: what a person could not
// read is made visible. What is set here calls nobody. Main thread.
class Page {
 public:
  using Action = std::function<void()>;

  virtual ~Page() = default;

  // Labels, fields, buttons, and group boxes by their titles. In the texts of buttons, of group
  // boxes and of labels that name a field, "&" marks the access key. A field that its user has not
  // changed gives back the bytes that it was set to.
  virtual void setText(const std::string& widget, const std::string& text) = 0;
  virtual std::string text(const std::string& widget) = 0;
  virtual void setEnabled(const std::string& widget, bool enabled) = 0;
  virtual void setVisible(const std::string& widget, bool visible) = 0;
  // A picture by its name among the images, on a label.
  virtual void setImage(const std::string& widget, const std::string& image) = 0;
  // Check boxes, radio buttons and buttons that stay down.
  virtual void setChecked(const std::string& widget, bool checked) = 0;
  virtual bool isChecked(const std::string& widget) = 0;
  // Spin boxes, and which of some tabs is in front, from 0.
  virtual void setNumber(const std::string& widget, std::int64_t number) = 0;
  virtual std::int64_t number(const std::string& widget) = 0;
  // Boxes and lists of which one is chosen; `chosen` beyond the last chooses none.
  virtual void setChoices(const std::string& widget, const std::vector<std::string>& choices,
                          std::size_t chosen) = 0;
  virtual std::size_t choice(const std::string& widget) = 0;
  // A bar that is filled as far as `done` of `all`; of 0 it only shows that something goes on.
  virtual void setProgress(const std::string& widget, std::uint64_t done, std::uint64_t all) = 0;

  // Tables. The titles name the columns; with new rows the selection is empty.
  virtual void setRows(const std::string& widget, const std::vector<std::string>& titles,
                       std::shared_ptr<TableRows> rows) = 0;
  // The rows are others now: they are asked for anew. The selection goes, if their number changed.
  virtual void rowsChanged(const std::string& widget) = 0;
  virtual std::vector<std::size_t> selectedRows(const std::string& widget) = 0;
  virtual void selectRow(const std::string& widget, std::size_t row) = 0;
  // Selects these rows, which stand in their order, and no others; the table stays where it is.
  virtual void selectRows(const std::string& widget, const std::vector<std::size_t>& rows) = 0;

  // Marks the title of a column as that by which the rows stand: what is smaller above, or below.
  virtual void markTitle(const std::string& widget, std::size_t column, bool isAscending) = 0;

  // Has `action` called when its user presses a button, chooses, checks, has changed a text, or
  // opens a row of a table. A text counts as changed when its user leaves it or presses Enter;
  // where the interface file gives the field the property `live`, at each letter.
  virtual void onAction(const std::string& widget, Action action) = 0;
  // ... when other rows of a table are selected.
  virtual void onSelection(const std::string& widget, Action action) = 0;
  // ... with the column of a table whose title is pressed.
  virtual void onTitle(const std::string& widget,
                       std::function<void(std::size_t column)> pressed) = 0;
  // ... with the paths of files and folders that are dropped there.
  virtual void onDrop(const std::string& widget,
                      std::function<void(const std::vector<std::string>& paths)> dropped) = 0;
  virtual void focus(const std::string& widget) = 0;
};

// A question that holds its user up until it is answered.
struct Question {
  std::string text;
  std::string detail;
  // The last one changes nothing: it is what Escape and closing mean, and what Enter means where
  // `isDangerous`.
  std::vector<std::string> buttons;
  bool isDangerous = false;
};

// The window of the main application. Main thread.
class MainWindow {
 public:
  virtual ~MainWindow() = default;
  // Returns the page of that name, made of `<name>.ui` when it is asked for first. Throws
  // PlatformException when that cannot be loaded.
  virtual Page& page(const std::string& name) = 0;
  // Lists a page at the side, with its title, below those before.
  virtual void addToList(const std::string& name, const std::string& title) = 0;
  // Shows that page, in front of other windows.
  virtual void show(const std::string& name) = 0;
  virtual std::string shownPage() const = 0;
  // Has `action` called whenever that page comes to be seen.
  virtual void onShown(const std::string& name, std::function<void()> action) = 0;
  // Has it called when the window is about to close; it stays open where that returns false.
  virtual void onClose(std::function<bool()> mayClose) = 0;
  // Closes the window as its user does: whoever may hold it open is asked.
  virtual void close() = 0;
  // Puts a text where it can be pasted from.
  virtual void copy(const std::string& text) = 0;

  // Asks without holding up this thread; `answered` gets the button's number.
  virtual void ask(const Question& question, std::function<void(std::size_t)> answered) = 0;
  // Has files or folders chosen; nothing is called when its user does not want to. `where` is a
  // folder to begin in, or "".
  virtual void chooseFolders(const std::string& title, const std::string& where,
                             std::function<void(const std::vector<std::string>&)> chosen) = 0;
  virtual void chooseFiles(const std::string& title, const std::string& where,
                           std::function<void(const std::vector<std::string>&)> chosen) = 0;
};

}  // namespace quillo
