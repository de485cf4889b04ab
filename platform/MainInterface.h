#pragma once

#include "platform/Dialog.h"
#include "platform/Menu.h"
#include "platform/StatusItem.h"

namespace quillo {

// The main interface file: the menu with its fixed items, and the dialogs that exist once. Made by
// the platform before the delegate, and lives as long as the process.
struct MainInterface {
  Menu& theMenu;
  Menu& theSubMenu;
  // What the agent is doing, and the command that mends what is wrong with it, which is hidden
  // where nothing is.
  MenuItem& stateMenuItem;
  MenuItem& mendMenuItem;
  MenuItem& startMenuItem;
  MenuItem& stopMenuItem;
  MenuItem& foldersWatchedMenuItem;
  MenuItem& restartMenuItem;
  MenuItem& abortMenuItem;
  MenuItem& abortConfirmMenuItem;
  MenuItem& quitMenuItem;
  MenuItem& updateDefsMenuItem;
  MenuItem& openScanLogMenuItem;
  MenuItem& openQuilloConsoleLogMenuItem;
  MenuItem& openUpdateLogMenuItem;
  Dialog& updateWindow;
  ButtonDialog& noEngineWindow;
  // The same where the main application is not installed: one button, deleteButton, is to edit the
  // preferences.
  ButtonDialog& noEngineAloneWindow;
  // The message of noEngineWindow has three lines: its heading, what is wrong, what to do next.
  // The actions of noEngineWindow's buttons: deleteButton is openPrefsButton, otherButton is
  // openVantrelButton.
};

}  // namespace quillo
