// The menu, the status item and the dialogs without an agent behind them: reads commands from file
// descriptor 3, one a line, carries them out on a thread of its own as a worker of the agent would,
// and writes what happens there, one event a line.
//
//   desktop-interface RESOURCE-FOLDER LANGUAGE STATUS-ITEM-LENGTH

#include <unistd.h>

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QMainWindow>
#include <QTimer>
#include <QWindow>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "clamav/Verdict.h"
#include "platform/linux/dialogs/QtInterfaceLoader.h"
#include "platform/linux/dialogs/QtMainInterface.h"
#include "platform/linux/services/QtApplication.h"
#include "platform/linux/text/StringTables.h"
#include "platform/linux/tray/QtDockTile.h"
#include "platform/linux/tray/QtImage.h"
#include "platform/linux/tray/QtStatusItem.h"
#include "posix/Text.h"
#include "tests/desktop/interface/Windows.h"

namespace quillo {
namespace {

class StandardErrorLog final : public SystemLog {
 public:
  void log(std::string_view message) override {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
  }
};

// The services in the order in which the agent makes them.
struct DesktopInterface {
  DesktopInterface(int& argc, char** argv)
      : application(argc, argv),
        strings({std::string(argv[1]) + "/strings/windows"}, {argv[2]}, nullptr),
        qtTranslation(strings.language()),
        images(std::string(argv[1]) + "/images"),
        loader(std::string(argv[1]) + "/interface", application, log, images, strings, keys),
        mainInterface(application, strings, loader),
        dockTile(
            std::string(argv[1]) + "/interface", application, [this] { application.terminate(); },
            [this](const std::string& problem) { log.log(problem); }),
        statusItem(statusBar.statusItemWithLength(std::atof(argv[3]))) {
    application.setDockTile(dockTile);
    application.setTerminationHandler([this] {
      say("terminated");
      application.exit(0);
    });
    connectItems();
  }

  std::map<std::string, MenuItem*> items() {
    MainInterface& menu = mainInterface.interface();
    return {{"state", &menu.stateMenuItem},
            {"start", &menu.startMenuItem},
            {"stop", &menu.stopMenuItem},
            {"restart", &menu.restartMenuItem},
            {"folders", &menu.foldersWatchedMenuItem},
            {"abort", &menu.abortMenuItem},
            {"confirm", &menu.abortConfirmMenuItem},
            {"update", &menu.updateDefsMenuItem},
            {"scanlog", &menu.openScanLogMenuItem},
            {"quit", &menu.quitMenuItem}};
  }

  void connectItems() {
    for (const auto& [name, item] : items()) {
      item->setAction(
          [this, event = "chosen " + name] { say(event + " " + std::to_string(keys.current())); });
    }
    mainInterface.interface().noEngineAloneWindow.setAction([](ButtonDialog::Button button) {
      say(button == ButtonDialog::Button::deleteButton ? "edit" : "other");
    });
    mainInterface.interface().noEngineWindow.setAction([](ButtonDialog::Button button) {
      say(button == ButtonDialog::Button::deleteButton ? "prefs" : "vantrel");
    });
  }

  QtApplication application;
  StandardErrorLog log;
  StringTables strings;
  QtTranslation qtTranslation;
  QtImageLoader images;
  QtModifierKeys keys;
  QtInterfaceLoader loader;
  QtMainInterface mainInterface;
  QtDockTile dockTile;
  QtStatusBar statusBar{application};
  StatusItem& statusItem;
};

class Commands {
 public:
  explicit Commands(DesktopInterface& interface) : interface_(interface) {}

  // Until the other end is closed.
  void run() {
    FILE* input = fdopen(dup(commandDescriptor), "r");
    char* line = nullptr;
    std::size_t size = 0;
    for (ssize_t length; (length = getline(&line, &size, input)) > 0;) {
      perform(std::string(line, static_cast<std::size_t>(length) - 1));
    }
    std::free(line);
    std::fclose(input);
    interface_.application.exit(0);
  }

 private:
  void perform(const std::string& line) {
    const std::size_t blank = line.find(' ');
    const std::string name = line.substr(0, blank);
    const std::string rest = blank == std::string::npos ? "" : line.substr(blank + 1);
    performOnMenu(name, rest);
    performOnDialogs(name, rest);
    performOnDock(name, rest);
    performOnMainThread(name, rest);
  }

  void performOnMenu(const std::string& name, const std::string& rest) {
    MainInterface& menu = interface_.mainInterface.interface();
    if (name == "image") {
      interface_.statusItem.setImage(interface_.images.imageNamed(rest));
    } else if (name == "alternate") {
      interface_.statusItem.setAlternateImage(interface_.images.imageNamed(rest));
      interface_.statusItem.setHighlightMode(true);
    } else if (name == "tooltip") {
      interface_.statusItem.setToolTip(rest);
    } else if (name == "menu") {
      menu.theMenu.setAutoenablesItems(false);
      interface_.statusItem.setMenu(menu.theMenu);
    } else if (name == "enable" || name == "disable") {
      interface_.items().at(rest)->setEnabled(name == "enable");
      say(rest + (interface_.items().at(rest)->isEnabled() ? " enabled" : " disabled"));
    } else if (name == "title") {
      interface_.items().at("start")->setTitle(rest);
      say("title " + interface_.items().at("start")->title());
    } else if (name == "mend") {
      menu.mendMenuItem.setTitle(rest);
      menu.mendMenuItem.setHidden(false);
    } else if (name == "folder") {
      menu.theSubMenu.insertItem(0, rest, [rest] { say("folder " + rest); });
    } else if (name == "clear") {
      menu.theSubMenu.removeAllItems();
    } else if (name == "noquit") {
      menu.theMenu.removeItem(menu.quitMenuItem);
    }
  }

  void performOnDialogs(const std::string& name, const std::string& rest) {
    if (name == "load") {
      load(rest);
    } else if (name == "failing-button") {
      dialogs_.back()->setAction(
          [](ButtonDialog::Button) { throw std::runtime_error("the button fails"); });
    } else if (name == "message") {
      // As the agent does it.
      const Verdict verdict = Verdict::parse(rest);
      if (verdict.kind == Verdict::Kind::infected && !verdict.path.empty()) {
        dialogs_.back()->setFind(verdict.path, verdict.threat);
        dialogs_.back()->setSuspicious(verdict.isHeuristic());
      }
      dialogs_.back()->setMessage(replacingAll(rest, "\\n", "\n"));
      say("message " + std::to_string(dialogs_.back()->message().size()));
    } else if (name == "title-of-delete") {
      dialogs_.back()->setDeleteButtonTitle(rest);
    } else if (name == "engine-error") {
      dialogs_.back()->setKind(ButtonDialog::Kind::engineError);
    } else if (name == "subject") {
      dialogs_.back()->setSubject(rest);
    } else if (name == "suspicious") {
      dialogs_.back()->setSuspicious(true);
    } else if (name == "failure") {
      dialogs_.back()->showFailure(rest);
    } else if (name == "front") {
      dialogs_.back()->orderFrontRegardless();
    } else if (name == "out") {
      dialogs_.back()->orderOut();
    } else if (name == "forget") {
      dialogs_.clear();
    } else if (name == "closeall") {
      // As the delegate does it: all of them in one go on the main thread.
      interface_.application.performOnMainThread([all = std::move(dialogs_)] {
        for (const auto& dialog : all) {
          dialog->close();
        }
        say("closed " + std::to_string(all.size()));
      });
      dialogs_.clear();
    } else if (name == "noengine-text") {
      interface_.mainInterface.interface().noEngineWindow.setMessage(
          replacingAll(rest, "\\n", "\n"));
    } else if (name == "noengine-alone") {
      interface_.mainInterface.interface().noEngineAloneWindow.setMessage(
          replacingAll(rest, "\\n", "\n"));
      interface_.mainInterface.interface().noEngineAloneWindow.makeFloatingKeyAndOrderFront();
    } else if (name == "noengine") {
      interface_.mainInterface.interface().noEngineWindow.makeFloatingKeyAndOrderFront();
    } else if (name == "update") {
      interface_.mainInterface.interface().updateWindow.setMessage(rest);
      interface_.mainInterface.interface().updateWindow.makeFloatingKeyAndOrderFront();
    }
  }

  void load(const std::string& name) {
    auto dialog = interface_.loader.load(name);
    say(dialog ? "loaded" : "not loaded");
    if (!dialog) {
      return;
    }
    const auto number = std::to_string(dialogs_.size());
    dialog->setAction([this, number, weak = std::weak_ptr(dialog)](ButtonDialog::Button button) {
      const bool isDelete = button == ButtonDialog::Button::deleteButton;
      say("pressed " + number + (isDelete ? " delete " : " other ") +
          std::to_string(interface_.keys.current()));
      if (const auto pressed = weak.lock()) {
        pressed->close();
      }
    });
    dialogs_.push_back(std::move(dialog));
  }

  void performOnDock(const std::string& name, const std::string& rest) {
    if (name == "dock" || name == "activate") {
      interface_.application.performOnMainThread([this, name] {
        const int error = name == "dock" ? interface_.application.transformToForegroundApplication()
                                         : interface_.application.activateIgnoringOtherApps();
        for (QWidget* window : QApplication::topLevelWidgets()) {
          if (qobject_cast<QMainWindow*>(window)) {
            new MinimisingObserver(window);
          }
        }
        say("foreground " + std::to_string(error));
      });
    } else if (name == "dockimage") {
      interface_.application.setApplicationIconImage(interface_.images.imageNamed(rest));
    } else if (name == "dockstate") {
      interface_.dockTile.setState(rest);
    } else if (name == "dockfolders") {
      std::vector<std::string> folders;
      for (const std::string_view folder : split(rest, ':')) {
        folders.emplace_back(folder);
      }
      interface_.dockTile.setWatchedFolders(folders);
    } else if (name == "verdict") {
      // TIME FILE VERDICT, and " threat" behind it for one.
      const auto words = split(rest, ' ');
      interface_.dockTile.addVerdict({std::string(words.at(0)), std::string(words.at(1)),
                                      std::string(words.at(2)), words.size() > 3});
    }
  }

  void performOnMainThread(const std::string& name, const std::string& rest) {
    if (name == "sync") {
      interface_.application.performOnMainThread([] { say("synced"); });
    } else if (name == "where") {
      interface_.application.performOnMainThread([this, rest] { windows_.reportWhere(rest); });
    } else if (name == "place") {
      interface_.application.performOnMainThread([rest] { say(where(rest)); });
    } else if (name == "answers") {
      interface_.application.performOnMainThread(
          [rest] { say("answers " + std::to_string(static_cast<int>(answersClicks(rest)))); });
    } else if (name == "resizable") {
      interface_.application.performOnMainThread(
          [rest] { say("resizable " + std::to_string(static_cast<int>(isResizable(rest)))); });
    } else if (name == "framed") {
      interface_.application.performOnMainThread(
          [rest] { say("framed " + std::to_string(static_cast<int>(isFramed(rest)))); });
    } else if (name == "dialogs") {
      interface_.application.performOnMainThread(
          [] { say("dialogs " + std::to_string(shownDialogs())); });
    } else if (name == "visible") {
      interface_.application.performOnMainThread(
          [rest] { say("visible " + std::to_string(visibleCount(rest))); });
    } else if (name == "bottom") {
      interface_.application.performOnMainThread(
          [rest] { say("bottom " + std::to_string(static_cast<int>(showsItsEnd(rest)))); });
    } else if (name == "top") {
      interface_.application.performOnMainThread(
          [rest] { say("top " + std::to_string(static_cast<int>(showsItsStart(rest)))); });
    } else if (name == "focused-in-window") {
      interface_.application.performOnMainThread([rest] { say("focused " + focusedBeside(rest)); });
    } else if (name == "spoken") {
      interface_.application.performOnMainThread([rest] { say("spoken " + spoken(rest)); });
    } else if (name == "rows") {
      interface_.application.performOnMainThread([rest] { say("rows " + rowsOf(rest)); });
    } else if (name == "tips") {
      interface_.application.performOnMainThread([rest] { say("tips " + toolTipsOf(rest)); });
    } else if (name == "text") {
      interface_.application.performOnMainThread([rest] { say("text " + textOf(rest)); });
    } else if (name == "popup") {
      interface_.application.performOnMainThread([] { say("popup " + itemsOfPopup()); });
    } else if (name == "area") {
      interface_.application.performOnMainThread([rest] { say("area " + areaOf(rest)); });
    } else if (name == "focused") {
      interface_.application.performOnMainThread([] { say("focused " + focused()); });
    } else if (name == "block") {
      interface_.application.performOnMainThread(
          [gate = gate_.get_future().share()] { gate.wait(); });
    } else if (name == "unblock") {
      gate_.set_value();
      gate_ = {};
    } else if (name == "environment") {
      const char* value = std::getenv(rest.c_str());
      say("environment " + std::string(value ? value : "(not set)"));
    } else if (name == "terminate") {
      interface_.application.terminate();
    }
  }

  DesktopInterface& interface_;
  WindowObserver windows_{where};
  std::vector<std::shared_ptr<ButtonDialog>> dialogs_;
  std::promise<void> gate_;
};

}  // namespace
}  // namespace quillo

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: interface RESOURCE-FOLDER LANGUAGE STATUS-ITEM-LENGTH\n");
    return 2;
  }
  quillo::DesktopInterface interface(argc, argv);
  quillo::Commands commands(interface);
  std::thread([&commands] { commands.run(); }).detach();
  return interface.application.run();
}
