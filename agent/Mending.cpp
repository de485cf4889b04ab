#include "agent/Mending.h"

#include "agent/DefinitionUpdates.h"
#include "agent/MainApplication.h"
#include "agent/NoEngineWindow.h"
#include "agent/PreferenceFile.h"
#include "menu/Throbber.h"
#include "platform/Workspace.h"
#include "settings/PreferenceTable.h"

namespace quillo {

void Mending::mend() const {
  switch (mainMenu.attention()) {
    case Attention::noEngine:
      noEngineWindow.showAgain();
      break;
    case Attention::noDefinitions:
    case Attention::oldDefinitions:
      definitionUpdates.updateVirusDefsAndNotify(true);
      break;
    case Attention::missingFolders:
      if (applicationLauncher.isInstalled(mainApplicationIdentifier)) {
        mainApplication.openPrefs(nullptr);
      } else {
        preferenceFile.open();
      }
      break;
    case Attention::gaps:
      mainMenu.openScanLog();
      break;
    case Attention::none:
    case Attention::helperFails:
      break;
  }
}

}  // namespace quillo
