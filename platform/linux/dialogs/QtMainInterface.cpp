#include "platform/linux/dialogs/QtMainInterface.h"

#include <string>

#include "posix/PlatformException.h"

namespace quillo {
namespace {

std::shared_ptr<ButtonDialog> loaded(InterfaceLoader& loader, const std::string& name) {
  auto dialog = loader.load(name);
  if (!dialog) {
    throw PlatformException(PlatformException::Kind::notFound, "QtMainInterface",
                            "The interface file " + name + " cannot be loaded");
  }
  return dialog;
}

// Adds the fixed items from top to bottom.
class MenuBuilder {
 public:
  MenuBuilder(QtMenu& menu, LocalizedStrings& strings) : menu_(menu), strings_(strings) {}

  QtMenuItem& item(const char* key, const char* title) {
    return menu_.addItem(strings_.stringForKey(key, title));
  }
  // One that opens a section.
  QtMenuItem& section(const char* key, const char* title) {
    menu_.addSeparator();
    return item(key, title);
  }
  QtMenuItem& submenu(const char* key, const char* title, QtMenu& submenu) {
    return menu_.addSubmenu(strings_.stringForKey(key, title), submenu);
  }
  QtMenuItem& submenuSection(const char* key, const char* title, QtMenu& below) {
    menu_.addSeparator();
    return submenu(key, title, below);
  }

 private:
  QtMenu& menu_;
  LocalizedStrings& strings_;
};

MainInterface build(QtMenu& theMenu, QtMenu& theSubMenu, QtMenu& abortMenu,
                    LocalizedStrings& strings, Dialog& updateWindow, ButtonDialog& noEngineWindow,
                    ButtonDialog& noEngineAloneWindow) {
  MenuBuilder menu(theMenu, strings);
  auto& state = menu.item("STATUS_IDLE", "Not watching");
  auto& mend = menu.item("MENU_UPDATE", "&Update Virus Definitions");
  mend.setHidden(true);
  auto& start = menu.section("MENU_START", "&Start Watching");
  auto& stop = menu.item("MENU_STOP", "S&top Watching");
  auto& restart = menu.item("MENU_RESTART", "&Restart Watching");
  auto& folders = menu.submenuSection("MENU_FOLDERS", "Watched &Folders", theSubMenu);
  auto& abort = menu.submenuSection("MENU_ABORT", "&Abort Scans", abortMenu);
  auto& update = menu.item("MENU_UPDATE", "&Update Virus Definitions");
  auto& scanLog = menu.section("MENU_SCAN_LOG", "Open S&can Log");
  auto& consoleLog = menu.item("MENU_CONSOLE_LOG", "Open C&onsole Log");
  auto& updateLog = menu.item("MENU_UPDATE_LOG", "Open U&pdate Log");
  auto& quit = menu.section("MENU_QUIT", "&Quit Vantrel Quillo");
  auto& confirm =
      MenuBuilder(abortMenu, strings).item("MENU_ABORT_CONFIRM", "&Abort All Scans Now");
  return MainInterface{
      theMenu, theSubMenu, state,     mend,         start,          stop,
      folders, restart,    abort,     confirm,      quit,           update,
      scanLog, consoleLog, updateLog, updateWindow, noEngineWindow, noEngineAloneWindow};
}

}  // namespace

QtMainInterface::QtMainInterface(Application& application, LocalizedStrings& strings,
                                 InterfaceLoader& loader)
    : application_(application),
      theMenu_(application_),
      theSubMenu_(application_),
      abortMenu_(application_),
      updateWindow_(loaded(loader, "UpdateWindow")),
      noEngineWindow_(loaded(loader, "NoEngineWindow")),
      noEngineAloneWindow_(loaded(loader, "NoEngineAloneWindow")),
      interface_(build(theMenu_, theSubMenu_, abortMenu_, strings, *updateWindow_, *noEngineWindow_,
                       *noEngineAloneWindow_)) {
  // Until watching has been prepared for the first time, there is nothing that these could act on.
  for (MenuItem* item : {&interface_.startMenuItem, &interface_.stopMenuItem,
                         &interface_.restartMenuItem, &interface_.foldersWatchedMenuItem,
                         &interface_.abortMenuItem, &interface_.abortConfirmMenuItem}) {
    item->setEnabled(false);
  }
}

}  // namespace quillo
