#include "companion/quarantine/QuarantinePage.h"

#include <algorithm>
#include <array>
#include <exception>
#include <map>
#include <utility>

#include "clamav/Verdict.h"
#include "companion/quarantine/QuarantineQuestions.h"
#include "platform/Application.h"
#include "platform/LocalizedStrings.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

using Reason = QuarantineOutcome::Reason;

constexpr std::array<const char*, 6> buttons = {"restoreButton", "restoreToButton",
                                                "checkButton",   "allowButton",
                                                "deleteButton",  "refreshButton"};
constexpr std::array<const char*, 7> details = {"fileValue",  "originValue", "threatValue",
                                                "movedValue", "sizeValue",   "hashValue",
                                                "stateValue"};

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text.append(text.empty() ? "" : "\n").append(line);
  }
  return text;
}

}  // namespace

class QuarantinePage::Rows final : public TableRows {
 public:
  explicit Rows(const QuarantineWords& words) : words_(words) {}

  void set(Files files) { files_ = std::move(files); }
  const Files& files() const { return files_; }
  std::size_t count() override { return files_.size(); }
  Row row(std::size_t row) override {
    const QuarantinedFile& file = files_.at(row);
    const bool isClean = file.hasRecord() && file.record.isCleanByNow();
    return {{file.formerName(), words_.origin(file), words_.threat(file), words_.moved(file),
             words_.size(file.identity.size), words_.state(file)},
            isClean                                           ? Sign::good
            : file.origin == QuarantinedFile::Origin::damaged ? Sign::warning
                                                              : Sign::threat};
  }

 private:
  const QuarantineWords words_;
  Files files_;
};

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
      rows_(std::make_shared<Rows>(words_)) {}

void QuarantinePage::connect() {
  const auto bound = [this](void (QuarantinePage::*action)()) {
    return [weak = weak_from_this(), action] {
      if (const auto self = weak.lock()) {
        (self.get()->*action)();
      }
    };
  };
  window_.onShown(name, bound(&QuarantinePage::refresh));
  page_.setRows("files",
                {words_.text("FILE"), words_.text("ORIGIN"), words_.text("THREAT"),
                 words_.text("MOVED"), words_.text("SIZE"), words_.text("STATE")},
                rows_);
  page_.onSelection("files", bound(&QuarantinePage::showSelection));
  page_.onAction("refreshButton", bound(&QuarantinePage::refresh));
  page_.onAction("restoreButton", [weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->askAndRestore(self->selectedFiles(), {});
    }
  });
  page_.onAction("restoreToButton", bound(&QuarantinePage::restoreElsewhere));
  page_.onAction("deleteButton", bound(&QuarantinePage::askToDelete));
  page_.onAction("checkButton", bound(&QuarantinePage::check));
  page_.onAction("allowButton", bound(&QuarantinePage::askAndAllow));
  page_.setVisible("report", false);
  page_.setVisible("progress", false);
  showSelection();
}

// The list is read on the same thread when the work is done, so that what is shown is true.
void QuarantinePage::start(const std::string& words, Work work) {
  if (isBusy_) {
    return;
  }
  isBusy_ = true;
  showBusy(words);
  folder_ = services_.folder();
  const auto body = [weak = weak_from_this(), services = services_, folder = folder_,
                     work = std::move(work)] {
    const QuarantineStore store(folder, services.clock, services.allow);
    const auto done = std::make_shared<Done>();
    try {
      work(store, *done);
      done->listing = store.list();
    } catch (const std::exception& failure) {
      done->listing.problem = QuarantineStore::FolderProblem::failed;
      done->summary = failure.what();
    }
    services.application.performOnMainThread([weak, done] {
      if (const auto self = weak.lock()) {
        self->show(std::move(*done));
      }
    });
  };
  try {
    services_.threads.detachNewThread("quarantine", body);
  } catch (const std::exception& failure) {
    Done done;
    done.listing = listing_;
    done.summary = failure.what();
    show(std::move(done));
  }
}

void QuarantinePage::refresh() {
  start(words_.text("READING"), [](const QuarantineStore&, Done&) {});
}

void QuarantinePage::showBusy(const std::string& words) {
  page_.setText("summary", words);
  page_.setVisible("progress", true);
  page_.setProgress("progress", 0, 0);
  for (const char* const button : buttons) {
    page_.setEnabled(button, false);
  }
}

void QuarantinePage::show(Done done) {
  isBusy_ = false;
  listing_ = std::move(done.listing);
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
  const bool isUsable = listing_.problem == QuarantineStore::FolderProblem::none;
  const auto clean = static_cast<std::uint64_t>(std::count_if(
      listing_.files.begin(), listing_.files.end(),
      [](const QuarantinedFile& file) { return file.hasRecord() && file.record.isCleanByNow(); }));
  std::string summary = !isUsable                ? words_.problem(listing_, folder_)
                        : listing_.files.empty() ? words_.text("EMPTY")
                                                 : words_.counted("FILES", listing_.files.size());
  if (clean > 0) {
    summary += " " + words_.counted("CLEAN", clean);
  }
  if (listing_.recordsError != 0) {
    summary += " " + words_.text("RECORDS_UNUSABLE");
  }
  page_.setText("summary", summary);
  showRows();
}

// A row is another file after a change: the selection follows the files, by name and identity.
void QuarantinePage::showRows() {
  std::map<std::string, FileIdentity> chosen;
  for (const QuarantinedFile& file : selectedFiles()) {
    chosen.emplace(file.name, file.identity);
  }
  rows_->set(listing_.files);
  page_.rowsChanged("files");
  std::vector<std::size_t> rows;
  for (std::size_t row = 0; row < listing_.files.size(); ++row) {
    const auto found = chosen.find(listing_.files[row].name);
    if (found != chosen.end() && isSameInFolder(found->second, listing_.files[row].identity)) {
      rows.push_back(row);
    }
  }
  page_.selectRows("files", rows);
  showSelection();
}

QuarantinePage::Files QuarantinePage::selectedFiles() {
  Files files;
  for (const std::size_t row : page_.selectedRows("files")) {
    if (row < rows_->files().size()) {
      files.push_back(rows_->files()[row]);
    }
  }
  return files;
}

void QuarantinePage::showSelection() {
  const Files chosen = selectedFiles();
  for (const char* const button : buttons) {
    page_.setEnabled(button, !isBusy_ && !chosen.empty());
  }
  page_.setEnabled("refreshButton", !isBusy_);
  // Without a choice everything is checked.
  page_.setEnabled("checkButton", !isBusy_ && rows_->count() > 0);
  page_.setEnabled("restoreButton",
                   !isBusy_ && std::any_of(chosen.begin(), chosen.end(),
                                           [](const auto& file) { return file.knowsOrigin(); }));
  showDetails(chosen);
}

void QuarantinePage::showDetails(const Files& chosen) {
  if (chosen.size() != 1) {
    for (const char* const detail : details) {
      page_.setText(detail, "");
    }
    if (!chosen.empty()) {
      page_.setText("fileValue", words_.counted("CHOSEN", chosen.size()));
    }
    return;
  }
  const QuarantinedFile& file = chosen.front();
  page_.setText("fileValue", folder_ + (folder_.ends_with('/') ? "" : "/") + file.name);
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
  start(words, [words = words_, key, files, target, action = std::move(action)](
                   const QuarantineStore& store, Done& done) {
    std::uint64_t well = 0;
    done.target = target;
    for (const QuarantinedFile& file : files) {
      const QuarantineOutcome outcome = action(store, file);
      well += outcome.isDone() ? 1U : 0U;
      if (!outcome.isDone() || !outcome.areAttributesKept) {
        done.report.push_back(reportedText(file.formerName()) + ": " + words.outcome(outcome));
      }
      if (outcome.reason == Reason::targetFolderMissing) {
        done.folderMissing.push_back(file);
      }
    }
    done.summary = well > 0 ? words.counted(key, well) : "";
    if (well < files.size()) {
      done.summary += (well > 0 ? " " : "") + words.counted("NOT_DONE", files.size() - well);
    }
  });
}

void QuarantinePage::restore(const Files& files, const QuarantineStore::Target& target) {
  doWithEach(
      words_.text("RESTORING"), "RESTORED", files,
      [target](const QuarantineStore& store, const QuarantinedFile& file) {
        return store.restore(file, target);
      },
      target);
}

void QuarantinePage::restoreElsewhere() {
  window_.chooseFolders(
      words_.text("CHOOSE_FOLDER"), "",
      [weak = weak_from_this(), files = selectedFiles()](const std::vector<std::string>& folders) {
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
  const Files files = selectedFiles();
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
  const Files files = selectedFiles();
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
  Files files = selectedFiles();
  if (files.empty()) {
    files = rows_->files();
  }
  start(words_.text("CHECKING"), [words = words_, services = services_, files](
                                     const QuarantineStore& store, Done& done) {
    const auto result = services.check(store, files, services.definitions());
    if (!result.problem.empty()) {
      done.summary =
          Wording{"QUARANTINE_CHECK_FAILED", {result.problem}}.in(services.localizedStrings);
      return;
    }
    for (const auto& checked : result.files) {
      if (checked.check == QuarantineRecord::Check::notScanned) {
        done.report.push_back(reportedText(checked.file.formerName()) + ": " +
                              Wording{"QUARANTINE_CHECKED_NOT", {reportedText(checked.detail)}}.in(
                                  services.localizedStrings));
      }
    }
    done.summary = words.counted("CHECKED", result.files.size() - done.report.size()) + " " +
                   words.counted("CLEAN", result.count(QuarantineRecord::Check::clean));
  });
}

}  // namespace quillo
