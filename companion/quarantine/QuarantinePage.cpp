#include "companion/quarantine/QuarantinePage.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "clamav/Verdict.h"
#include "companion/quarantine/QuarantineQuestions.h"
#include "platform/LocalizedStrings.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::array<const char*, 7> buttons = {
    "restoreButton", "restoreToButton", "checkButton",       "allowButton",
    "deleteButton",  "refreshButton",   "restoreCleanButton"};
constexpr std::array<const char*, 7> details = {"fileValue",  "originValue", "threatValue",
                                                "movedValue", "sizeValue",   "hashValue",
                                                "stateValue"};

bool canBePutBackAsClean(const QuarantinedFile& file) {
  return file.isCleanByNow() && file.knowsOrigin();
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text.append(text.empty() ? "" : "\n").append(line);
  }
  return text;
}

}  // namespace

std::shared_ptr<QuarantinePage> QuarantinePage::make(MainWindow& window,
                                                     QuarantineServices services) {
  std::shared_ptr<QuarantinePage> page(new QuarantinePage(window, std::move(services)));
  page->connect();
  return page;
}

QuarantinePage::QuarantinePage(MainWindow& window, QuarantineServices services)
    : window_(window),
      page_(window.page(name)),
      services_(std::move(services)),
      words_(services_.localizedStrings),
      list_(page_, words_),
      listing_(std::make_shared<QuarantineStore::Listing>()) {}

void QuarantinePage::connect() {
  const auto begins = [weak = weak_from_this()](const std::string& words) {
    if (const auto self = weak.lock()) {
      self->showBusy(words);
    }
  };
  const auto ended = [weak = weak_from_this()](QuarantineDone done) {
    if (const auto self = weak.lock()) {
      self->show(std::move(done));
    }
  };
  work_ = std::make_shared<QuarantineWork>(services_, QuarantineWork::Listener{begins, ended});
  connectWidgets();
}

void QuarantinePage::connectWidgets() {
  const auto bound = [this](void (QuarantinePage::*action)()) {
    return [weak = weak_from_this(), action] {
      if (const auto self = weak.lock()) {
        (self.get()->*action)();
      }
    };
  };
  window_.onShown(name, bound(&QuarantinePage::refresh));
  page_.onSelection("files", bound(&QuarantinePage::showSelection));
  page_.onTitle("files", [weak = weak_from_this()](std::size_t column) {
    if (const auto self = weak.lock()) {
      self->list_.sortBy(column);
      self->showSelection();
    }
  });
  page_.onAction("sortBy", bound(&QuarantinePage::sort));
  page_.onAction("reversed", bound(&QuarantinePage::sort));
  page_.onAction("refreshButton", bound(&QuarantinePage::refresh));
  page_.onAction("restoreButton", bound(&QuarantinePage::restoreSelected));
  page_.onAction("restoreCleanButton", bound(&QuarantinePage::restoreClean));
  page_.onAction("restoreToButton", bound(&QuarantinePage::restoreElsewhere));
  page_.onAction("deleteButton", bound(&QuarantinePage::askToDelete));
  page_.onAction("checkButton", bound(&QuarantinePage::check));
  page_.onAction("allowButton", bound(&QuarantinePage::askAndAllow));
  page_.setVisible("report", false);
  page_.setVisible("progress", false);
  showSelection();
}

void QuarantinePage::refresh() {
  wanted_.clear();
  work_->read(words_.text("READING"));
}

void QuarantinePage::listChanged() { work_->read(""); }

void QuarantinePage::select(const std::string& path) {
  wanted_ = lastPathComponent(path);
  listChanged();
}

void QuarantinePage::showBusy(const std::string& words) {
  isActing_ = true;
  page_.setText("summary", words);
  page_.setVisible("progress", true);
  page_.setProgress("progress", 0, 0);
  for (const char* const button : buttons) {
    page_.setEnabled(button, false);
  }
}

void QuarantinePage::show(QuarantineDone done) {
  const bool isNews = done.isListed && !areAlike(*listing_, done.listing);
  if (isNews) {
    listing_ = std::make_shared<QuarantineStore::Listing>(std::move(done.listing));
  }
  if (done.isQuiet) {
    // Of the last action stays what was said; of one that waits, that it does.
    if (isNews && !isActing_) {
      showList();
    } else if (isNews || !wanted_.empty()) {
      showRows();
    }
    return;
  }
  isActing_ = false;
  page_.setVisible("progress", false);
  page_.setVisible("report", !done.report.empty());
  page_.setText("report", joined(done.report));
  showList();
  if (!done.summary.empty()) {
    page_.setText("summary", done.summary);
  }
  if (!done.report.empty()) {
    page_.focus("report");
  }
  if (!done.folderMissing.empty()) {
    askToMakeFolders(done.folderMissing, done.target);
  }
}

void QuarantinePage::showList() {
  showRows();
  const bool isUsable = listing_->problem == QuarantineStore::FolderProblem::none;
  std::string summary = !isUsable                 ? words_.problem(*listing_, work_->folder())
                        : listing_->files.empty() ? words_.text("EMPTY")
                                                  : words_.counted("FILES", listing_->files.size());
  if (cleanFiles_ > 0) {
    summary += " " + words_.counted("CLEAN", cleanFiles_);
  }
  if (listing_->recordsError != 0) {
    summary += " " + words_.text("RECORDS_UNUSABLE");
  }
  page_.setText("summary", summary);
}

void QuarantinePage::showRows() {
  cleanFiles_ = static_cast<std::size_t>(
      std::count_if(listing_->files.begin(), listing_->files.end(), canBePutBackAsClean));
  list_.show({listing_, &listing_->files});
  if (!wanted_.empty() && list_.select(wanted_)) {
    wanted_.clear();
  }
  showSelection();
}

void QuarantinePage::sort() {
  list_.sort();
  showSelection();
}

QuarantinePage::Files QuarantinePage::cleanFiles() const {
  Files clean;
  std::copy_if(listing_->files.begin(), listing_->files.end(), std::back_inserter(clean),
               canBePutBackAsClean);
  return clean;
}

void QuarantinePage::showSelection() {
  const std::vector<const QuarantinedFile*> chosen = list_.selected();
  for (const char* const button : buttons) {
    page_.setEnabled(button, !isActing_ && !chosen.empty());
  }
  page_.setEnabled("refreshButton", !isActing_);
  const bool isAnyClean = cleanFiles_ > 0;
  page_.setEnabled("restoreCleanButton", !isActing_ && isAnyClean);
  page_.setVisible("restoreCleanButton", isAnyClean);
  // Without a choice everything is checked.
  page_.setEnabled("checkButton", !isActing_ && list_.count() > 0);
  page_.setEnabled("restoreButton",
                   !isActing_ && std::any_of(chosen.begin(), chosen.end(),
                                             [](const auto* file) { return file->knowsOrigin(); }));
  showDetails(chosen);
}

void QuarantinePage::showDetails(const std::vector<const QuarantinedFile*>& chosen) {
  if (chosen.size() != 1) {
    for (const char* const detail : details) {
      page_.setText(detail, "");
    }
    if (!chosen.empty()) {
      page_.setText("fileValue", words_.counted("CHOSEN", chosen.size()));
    }
    return;
  }
  const QuarantinedFile& file = *chosen.front();
  const std::string& folder = work_->folder();
  page_.setText("fileValue", folder + (folder.ends_with('/') ? "" : "/") + file.name);
  page_.setText("originValue", words_.origin(file));
  page_.setText("threatValue", words_.threat(file));
  page_.setText("movedValue", words_.moved(file));
  page_.setText("sizeValue", words_.size(file.identity.size));
  page_.setText("hashValue", file.hasRecord() && !file.record.hash.empty()
                                 ? file.record.hash
                                 : words_.text("HASH_UNKNOWN"));
  page_.setText("stateValue", words_.state(file));
}

void QuarantinePage::doWithEach(
    const std::string& words, const std::string& key, const Files& files,
    std::function<QuarantineOutcome(const QuarantineStore&, const QuarantinedFile&)> action,
    const QuarantineStore::Target& target) {
  const auto work = [words = words_, key, files, target, action = std::move(action)](
                        const QuarantineStore& store, QuarantineDone& done) {
    std::uint64_t well = 0;
    done.target = target;
    for (const QuarantinedFile& file : files) {
      const QuarantineOutcome outcome = action(store, file);
      well += outcome.isDone() ? 1U : 0U;
      if (!outcome.isDone() || !outcome.areAttributesKept) {
        done.report.push_back(reportedText(file.formerName()) + ": " + words.outcome(outcome));
      }
      if (outcome.reason == QuarantineOutcome::Reason::targetFolderMissing) {
        done.folderMissing.push_back(file);
      }
    }
    done.summary = well > 0 ? words.counted(key, well) : "";
    if (well < files.size()) {
      done.summary += (well > 0 ? " " : "") + words.counted("NOT_DONE", files.size() - well);
    }
  };
  work_->start(words, work);
}

void QuarantinePage::restore(const Files& files, const QuarantineStore::Target& target) {
  doWithEach(
      words_.text("RESTORING"), "RESTORED", files,
      [target](const QuarantineStore& store, const QuarantinedFile& file) {
        return store.restore(file, target);
      },
      target);
}

void QuarantinePage::restoreSelected() { askAndRestore(list_.selectedFiles(), {}); }

void QuarantinePage::restoreClean() { askAndRestore(cleanFiles(), {}); }

void QuarantinePage::restoreElsewhere() {
  window_.chooseFolders(words_.text("CHOOSE_FOLDER"), "",
                        [weak = weak_from_this(),
                         files = list_.selectedFiles()](const std::vector<std::string>& folders) {
                          const auto self = weak.lock();
                          if (self && folders.size() == 1) {
                            self->askAndRestore(files, {folders.front(), false});
                          } else if (self) {
                            self->page_.setText("summary", self->words_.text("ONE_FOLDER"));
                          }
                        });
}

void QuarantinePage::ask(const Question& question, std::function<void(QuarantinePage&)> action) {
  window_.ask(question, [weak = weak_from_this(), action = std::move(action)](std::size_t button) {
    const auto self = weak.lock();
    if (self && button == 0) {
      action(*self);
    }
  });
}

// What no check has found clean leaves only when its user has been told.
void QuarantinePage::askAndRestore(const Files& files, const QuarantineStore::Target& target) {
  const Files infected = QuarantineQuestions::notClean(files);
  if (infected.empty()) {
    restore(files, target);
    return;
  }
  ask(QuarantineQuestions(words_).putBack(infected),
      [files, target](QuarantinePage& page) { page.restore(files, target); });
}

void QuarantinePage::askToMakeFolders(const Files& files, const QuarantineStore::Target& target) {
  const QuarantineQuestions questions(words_);
  ask(target.folder.empty() ? questions.makeFolders(files) : questions.makeFolder(target.folder),
      [files, folder = target.folder](QuarantinePage& page) {
        page.restore(files, {folder, true});
      });
}

void QuarantinePage::askToDelete() {
  const Files files = list_.selectedFiles();
  ask(QuarantineQuestions(words_).remove(files),
      [files](QuarantinePage& page) { page.askAgainToDelete(files); });
}

void QuarantinePage::askAgainToDelete(const Files& files) {
  ask(QuarantineQuestions(words_).removeForGood(files),
      [files](QuarantinePage& page) { page.remove(files); });
}

void QuarantinePage::remove(const Files& files) {
  doWithEach(
      words_.text("DELETING"), "DELETED", files,
      [](const QuarantineStore& store, const QuarantinedFile& file) { return store.remove(file); });
}

void QuarantinePage::askAndAllow() {
  const Files files = list_.selectedFiles();
  const Files infected = QuarantineQuestions::notClean(files);
  if (infected.empty()) {
    allow(files);
    return;
  }
  ask(QuarantineQuestions(words_).allow(infected),
      [files](QuarantinePage& page) { page.allow(files); });
}

void QuarantinePage::allow(const Files& files) {
  doWithEach(
      words_.text("ALLOWING"), "ALLOWED", files,
      [](const QuarantineStore& store, const QuarantinedFile& file) { return store.allow(file); });
}

void QuarantinePage::check() {
  Files files = list_.selectedFiles();
  if (files.empty()) {
    files = listing_->files;
  }
  const auto work = [words = words_, services = services_, files](const QuarantineStore& store,
                                                                  QuarantineDone& done) {
    const auto result = services.check(store, files, services.definitions());
    if (!result.problem.empty()) {
      done.summary =
          Wording{"QUARANTINE_CHECK_FAILED", {result.problem}}.in(services.localizedStrings);
      return;
    }
    for (const auto& checked : result.files) {
      if (checked.check == QuarantineRecord::Check::notScanned) {
        done.report.push_back(reportedText(checked.file.formerName()) + ": " +
                              Wording{"QUARANTINE_CHECKED_NOT", {words.detail(checked)}}.in(
                                  services.localizedStrings));
      }
    }
    done.summary = words.counted("CHECKED", result.files.size() - done.report.size()) + " " +
                   words.counted("CLEAN", result.count(QuarantineRecord::Check::clean));
  };
  work_->start(words_.text("CHECKING"), work);
}

}  // namespace quillo
