#include "menu/Throbber.h"

#include "platform/Application.h"
#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "platform/MainInterface.h"
#include "platform/StatusItem.h"
#include "posix/Clock.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds frameLength(100);
constexpr milliseconds firstFrameLength(200);

}  // namespace

ThrobberImages ThrobberImages::load(ImageLoader& loader) {
  const auto pair = [&loader](const std::string& status, const std::string& dock) {
    ImageRef first = loader.imageNamed(status);
    return ImagePair{std::move(first), loader.imageNamed(dock)};
  };
  ThrobberImages images;
  images.defaultImage = pair("default", "dock_default");
  images.altImage = pair("alt", "dock_alt");
  // The idle highlight has no Dock image of its own.
  images.altImage2 = pair("alt2", "dock_alt");
  images.watchingImage = pair("watching", "dock_watching");
  for (std::size_t frame = 0; frame < frameCount; ++frame) {
    const std::string name = "scanning" + std::to_string(frame + 1);
    images.frames[frame] = pair(name, "dock_" + name);
  }
  images.defaultAttentionImage = pair("default_attention", "dock_default_attention");
  images.watchingAttentionImage = pair("watching_attention", "dock_watching_attention");
  return images;
}

Throbber::Throbber(const ThrobberServices& services)
    : services_(services),
      startMenuItem(services.mainInterface.startMenuItem),
      stopMenuItem(services.mainInterface.stopMenuItem),
      foldersWatchedMenuItem(services.mainInterface.foldersWatchedMenuItem),
      restartMenuItem(services.mainInterface.restartMenuItem),
      abortMenuItem(services.mainInterface.abortMenuItem),
      abortConfirmMenuItem(services.mainInterface.abortConfirmMenuItem),
      quitMenuItem(services.mainInterface.quitMenuItem),
      updateDefsMenuItem(services.mainInterface.updateDefsMenuItem),
      stateMenuItem_(services.mainInterface.stateMenuItem),
      mendMenuItem_(services.mainInterface.mendMenuItem),
      startWatchingMenuItemText(startMenuItem.title()),
      statusText_(
          services.localizedStrings, services.clock, [this] { return status(); },
          [this](const StatusLine& line) { showLine(line); }) {
  if (const auto preference = services_.preferences.value(key::showDockIcon)) {
    showDockPref = lowercased(*preference);
  }
  if (showDockPref == "true") {
    statusItem = &services_.statusBar.statusItemWithLength(0);
    services_.mainInterface.theMenu.removeItem(quitMenuItem.item());
  } else {
    statusItem = &services_.statusBar.statusItemWithLength(StatusBar::squareLength);
  }
}

Throbber::~Throbber() = default;

// Until the images are loaded there is nothing to show, and an image that the animation thread
// shows meanwhile must not be taken away.
void Throbber::setMenuAndDockTile(const ImagePair& pair) {
  if (pair[0]) {
    statusItem->setImage(pair[0]);
  }
  if (pair[1]) {
    services_.application.setApplicationIconImage(pair[1]);
  }
}

StatusFacts Throbber::status() {
  ThrobberOwner* owner = vantrelQuilloController;
  StatusFacts facts = owner ? owner->status() : StatusFacts();
  facts.settingUp = facts.settingUp || isSettingUp_;
  facts.busy = isBusy_;
  facts.watching = currentlyWatching;
  facts.updating = updating;
  return facts;
}

void Throbber::showStatus() {
  statusText_.show();
  if (ThrobberOwner* owner = vantrelQuilloController) {
    owner->statusChanged();
  }
}

void Throbber::showLine(const StatusLine& line) {
  statusItem->setToolTip(line.words);
  services_.dockTile.setState(line.words);
  stateMenuItem_.setTitle(line.words);
  const bool isOther = attention_.exchange(line.attention) != line.attention;
  showMend();
  if (isOther) {
    showRest();
  }
}

// Each of the two that can change stores its own part before it reads the other's, so that whoever
// comes last shows both.
void Throbber::rest(Rest state) {
  rest_ = state;
  showRest();
}

void Throbber::showRest() {
  const auto images = images_.load();
  const bool isWell = attention_ == Attention::none;
  if (rest_ == Rest::idle) {
    setMenuAndDockTile(isWell ? images->defaultImage : images->defaultAttentionImage);
  } else if (rest_ == Rest::watching) {
    setMenuAndDockTile(isWell ? images->watchingImage : images->watchingAttentionImage);
  }
}

void Throbber::setAlternateImage(const ImagePair& pair) {
  if (pair[0]) {
    statusItem->setAlternateImage(pair[0]);
  }
}

void Throbber::mainLoop(ThrobberOwner& owner) {
  prepare(owner);
  for (;;) {
    round();
  }
}

void Throbber::prepare(ThrobberOwner& owner) {
  if (!vantrelQuilloController) {
    setController(owner);
  }
  images_.store(ThrobberImages::load(services_.imageLoader));
  const auto images = images_.load();
  statusItem->setHighlightMode(true);
  rest(Rest::idle);
  setAlternateImage(images->altImage);
  statusItem->setMenu(services_.mainInterface.theMenu);
  statusItem->setEnabled(true);
  services_.mainInterface.theMenu.setAutoenablesItems(false);
  abortMenuItem.setEnabled(false);
  abortConfirmMenuItem.setEnabled(false);
  // The main thread may have been quicker, and had no images to show: what it counted stays.
  if (currentlyWatching) {
    showWatching();
  }
  showStatus();
}

void Throbber::round() {
  do {
    do {
      services_.clock.sleepFor(std::chrono::seconds(1));
    } while (!currentlyWatching);
    waitUntilSomethingRuns();
    // What begins once watching has been stopped is not shown.
  } while (!currentlyWatching);
  isBusy_ = true;
  rest_ = Rest::none;
  enableMenuItems(3);
  if (updating) {
    while (updating) {
      animateMenuForUpdate();
    }
  } else {
    while (vantrelQuilloController.load()->scannerCount() > 0) {
      animateMenuForScan();
    }
  }
  isBusy_ = false;
  showWatching();
}

void Throbber::waitUntilSomethingRuns() {
  Condition& throbberLock = vantrelQuilloController.load()->throbberLock();
  while (vantrelQuilloController.load()->scannerCount() < 1) {
    throbberLock.lock();
    throbberLock.wait();
    throbberLock.unlock();
  }
}

void Throbber::showFrame(std::size_t number, Clock::Duration length) {
  setMenuAndDockTile(images_.load()->frames[number - 1]);
  statusText_.showCount();
  services_.clock.sleepFor(length);
}

void Throbber::animateMenuForScan() {
  showFrame(1, firstFrameLength);
  for (std::size_t frame = 2; frame <= 7; ++frame) {
    showFrame(frame, frameLength);
  }
  for (std::size_t frame = 6; frame >= 2; --frame) {
    showFrame(frame, frameLength);
  }
}

void Throbber::animateMenuForUpdate() {
  for (std::size_t frame = 7; frame >= 1; --frame) {
    showFrame(frame, frameLength);
  }
}

void Throbber::showWatching() {
  enableMenuItems(2);
  rest(Rest::watching);
  setAlternateImage(images_.load()->altImage);
  showStatus();
}

void Throbber::startUpdate() {
  updating = true;
  showStatus();
  vantrelQuilloController.load()->modifyScannerCountBy(1);
}

void Throbber::stopUpdate() {
  updating = false;
  showStatus();
  vantrelQuilloController.load()->modifyScannerCountBy(-1);
  vantrelQuilloController.load()->updateEnded();
}

void Throbber::setReady() {
  if (++numReadyToWatch >= numItemsToWatch) {
    currentlyWatching = true;
    isSettingUp_ = false;
    startMenuItem.setTitle(startWatchingMenuItemText);
    showWatching();
  }
}

}  // namespace quillo
