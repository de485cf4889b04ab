#pragma once

#include "platform/Platform.h"
#include "settings/TypedPreferences.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {

// A whole desktop of fakes.
struct FakePlatform {
  FakeApplication application;
  FakeApplicationLauncher applicationLauncher;
  FakeAuthorization authorization;
  FakeBackgroundWork backgroundWork;
  FakeDistributedNotificationCenter distributedNotificationCenter;
  FakeDockTile dockTile;
  FakeFileDepartures fileDepartures;
  FakeFolders folders;
  FakeGrowl growl;
  FakeImageLoader imageLoader;
  FakeInterfaceLoader interfaceLoader;
  FakeLocalizedStrings localizedStrings;
  FakeModifierKeys modifierKeys;
  FakeMountNotifications mountNotifications;
  FakeNameWatch nameWatch;
  FakePowerNotifications powerNotifications;
  FakePreferenceStore preferenceStore;
  FakeScriptingKeys scriptingKeys;
  FakeStatusBar statusBar;
  FakeStatusPublisher statusPublisher;
  FakeSystemLog systemLog;
  FakeTrashFolders trashFolders;
  FakeVolumes volumes;
  FakeWorkspace workspace;
  FakeMainInterface mainInterface;
  TypedPreferences preferences{preferenceStore, folders, systemLog};

  Platform platform{application,
                    applicationLauncher,
                    authorization,
                    backgroundWork,
                    distributedNotificationCenter,
                    dockTile,
                    fileDepartures,
                    folders,
                    growl,
                    imageLoader,
                    interfaceLoader,
                    localizedStrings,
                    modifierKeys,
                    mountNotifications,
                    nameWatch,
                    powerNotifications,
                    preferenceStore,
                    scriptingKeys,
                    statusBar,
                    statusPublisher,
                    systemLog,
                    trashFolders,
                    volumes,
                    workspace,
                    mainInterface.outlets};
};

}  // namespace quillo
