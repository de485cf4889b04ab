#include "tests/fakes/desktop/FakeInterface.h"

#include <algorithm>
#include <utility>

namespace quillo {

void FakeDialog::record(const std::string& call) {
  std::lock_guard hold(mutex_);
  calls_.push_back(call);
}

void FakeDialog::close() {
  Action released;
  std::lock_guard hold(mutex_);
  calls_.emplace_back("close");
  released.swap(action_);
}

void FakeDialog::setMessage(const std::string& message) {
  std::lock_guard hold(mutex_);
  message_ = message;
}

std::string FakeDialog::message() const {
  std::lock_guard hold(mutex_);
  return message_;
}

void FakeDialog::setDeleteButtonTitle(const std::string& title) {
  std::lock_guard hold(mutex_);
  deleteButtonTitle_ = title;
}

void FakeDialog::setAction(Action action) {
  std::lock_guard hold(mutex_);
  action_ = std::move(action);
}

void FakeDialog::setKind(Kind kind) {
  std::lock_guard hold(mutex_);
  kind_ = kind;
}

void FakeDialog::setSubject(const std::string& text) {
  std::lock_guard hold(mutex_);
  subject_ = text;
}

void FakeDialog::setFind(const std::string& path, const std::string& threat) {
  std::lock_guard hold(mutex_);
  find_ = {path, threat};
}

std::pair<std::string, std::string> FakeDialog::find() const {
  std::lock_guard hold(mutex_);
  return find_;
}

void FakeDialog::setSuspicious(bool suspicious) {
  std::lock_guard hold(mutex_);
  suspicious_ = suspicious;
}

void FakeDialog::showFailure(const std::string& text) {
  std::lock_guard hold(mutex_);
  calls_.emplace_back("showFailure");
  failure_ = text;
}

void FakeDialog::press(Button button) {
  Action action;
  {
    std::lock_guard hold(mutex_);
    action = action_;
  }
  if (action) {
    action(button);
  }
}

std::vector<std::string> FakeDialog::calls() const {
  std::lock_guard hold(mutex_);
  return calls_;
}

bool FakeDialog::isClosed() const {
  const auto made = calls();
  return std::find(made.begin(), made.end(), "close") != made.end();
}

bool FakeDialog::cameToFront() const {
  const auto made = calls();
  return std::find(made.begin(), made.end(), "orderFrontRegardless") != made.end();
}

std::string FakeDialog::deleteButtonTitle() const {
  std::lock_guard hold(mutex_);
  return deleteButtonTitle_;
}

std::optional<ButtonDialog::Kind> FakeDialog::kind() const {
  std::lock_guard hold(mutex_);
  return kind_;
}

std::string FakeDialog::subject() const {
  std::lock_guard hold(mutex_);
  return subject_;
}

bool FakeDialog::isSuspicious() const {
  std::lock_guard hold(mutex_);
  return suspicious_;
}

std::string FakeDialog::failure() const {
  std::lock_guard hold(mutex_);
  return failure_;
}

FakeInterfaceLoader::~FakeInterfaceLoader() {
  for (const auto& name : loaded_) {
    for (const auto& dialog : name.second) {
      dialog->close();
    }
  }
}

std::shared_ptr<ButtonDialog> FakeInterfaceLoader::load(const std::string& name) {
  std::lock_guard hold(mutex_);
  if (broken_) {
    return nullptr;
  }
  auto dialog = std::make_shared<FakeDialog>();
  loaded_[name].push_back(dialog);
  return dialog;
}

std::vector<std::shared_ptr<FakeDialog>> FakeInterfaceLoader::loaded(const std::string& name) {
  std::lock_guard hold(mutex_);
  return loaded_[name];
}

void FakeInterfaceLoader::setBroken(bool broken) {
  std::lock_guard hold(mutex_);
  broken_ = broken;
}

std::string FakeMenuItem::title() const {
  std::lock_guard hold(mutex_);
  return title_;
}

void FakeMenuItem::setTitle(const std::string& title) {
  std::lock_guard hold(mutex_);
  title_ = title;
}

bool FakeMenuItem::isEnabled() const {
  std::lock_guard hold(mutex_);
  return enabled_;
}

void FakeMenuItem::setEnabled(bool enabled) {
  std::lock_guard hold(mutex_);
  enabled_ = enabled;
}

bool FakeMenuItem::isHidden() const {
  std::lock_guard hold(mutex_);
  return hidden_;
}

void FakeMenuItem::setHidden(bool hidden) {
  std::lock_guard hold(mutex_);
  hidden_ = hidden;
}

void FakeMenuItem::choose() {
  if (isEnabled() && !isHidden() && action_) {
    action_();
  }
}

void FakeMenu::insertItem(std::size_t index, const std::string& title,
                          std::function<void()> action) {
  std::lock_guard hold(mutex_);
  items_.emplace(items_.begin() + static_cast<std::ptrdiff_t>(index), title, std::move(action));
}

void FakeMenu::removeAllItems() {
  std::lock_guard hold(mutex_);
  items_.clear();
}

std::vector<std::string> FakeMenu::titles() {
  std::lock_guard hold(mutex_);
  std::vector<std::string> titles;
  for (const auto& item : items_) {
    titles.push_back(item.first);
  }
  return titles;
}

void FakeMenu::choose(const std::string& title) {
  std::function<void()> action;
  {
    std::lock_guard hold(mutex_);
    for (const auto& item : items_) {
      if (item.first == title) {
        action = item.second;
      }
    }
  }
  if (action) {
    action();
  }
}

std::string nameOf(const ImageRef& image) {
  const auto* fake = dynamic_cast<const FakeImage*>(image.get());
  return fake ? fake->name : "";
}

ImageRef FakeImageLoader::imageNamed(const std::string& name) {
  std::lock_guard hold(mutex_);
  loaded_.push_back(name);
  ImageRef& image = images_[name];
  if (!image) {
    image = std::make_shared<FakeImage>(name);
  }
  return image;
}

std::vector<std::string> FakeImageLoader::loaded() {
  std::lock_guard hold(mutex_);
  return loaded_;
}

void FakeStatusItem::setImage(const ImageRef& image) {
  std::lock_guard hold(mutex_);
  images_.push_back(nameOf(image));
}

void FakeStatusItem::setAlternateImage(const ImageRef& image) {
  std::lock_guard hold(mutex_);
  alternate_ = nameOf(image);
}

void FakeStatusItem::setToolTip(const std::string& text) {
  std::lock_guard hold(mutex_);
  toolTips_.push_back(text);
}

std::string FakeStatusItem::toolTip() {
  std::lock_guard hold(mutex_);
  return toolTips_.empty() ? "" : toolTips_.back();
}

std::vector<std::string> FakeStatusItem::toolTips() {
  std::lock_guard hold(mutex_);
  return toolTips_;
}

void FakeDockTile::setState(const std::string& words) {
  std::lock_guard hold(mutex_);
  state_ = words;
}

void FakeDockTile::setWatchedFolders(const std::vector<std::string>& folders) {
  std::lock_guard hold(mutex_);
  watchedFolders_ = folders;
}

void FakeDockTile::addVerdict(const DockVerdict& verdict) {
  std::lock_guard hold(mutex_);
  verdicts_.push_back(verdict);
}

std::string FakeDockTile::state() {
  std::lock_guard hold(mutex_);
  return state_;
}

std::vector<std::string> FakeDockTile::watchedFolders() {
  std::lock_guard hold(mutex_);
  return watchedFolders_;
}

std::vector<DockVerdict> FakeDockTile::verdicts() {
  std::lock_guard hold(mutex_);
  return verdicts_;
}

std::vector<std::string> FakeStatusItem::images() {
  std::lock_guard hold(mutex_);
  return images_;
}

std::string FakeStatusItem::image() {
  std::lock_guard hold(mutex_);
  return images_.empty() ? "" : images_.back();
}

std::string FakeStatusItem::alternateImage() {
  std::lock_guard hold(mutex_);
  return alternate_;
}

}  // namespace quillo
