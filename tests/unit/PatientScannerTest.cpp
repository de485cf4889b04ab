#include <gtest/gtest.h>

#include <filesystem>

#include "scanning/PatientScanner.h"
#include "tests/fakes/scanning/ScannerBench.h"
#include "tests/support/StdoutCapture.h"

namespace quillo {
namespace {

using Paths = std::vector<std::string>;

class PatientScannerBatch : public testing::Test {
 protected:
  PatientScannerBatch() { scanner.setMyName(name); }

  void exclude(const PreferenceArray& patterns) {
    bench.desktop.preferenceStore.set("ExcludePatterns", PreferenceValue{patterns});
    scanner.setMenuAndParams(ScannerBench::arguments("/no/such/engine"), bench.owner.chosen);
  }
  Paths remainingOf(const Paths& paths) {
    scanner.scanList() = paths;
    scanner.determineWhatToScan();
    return scanner.scanList();
  }

  ScannerBench bench;
  const std::string name = ScannerBench::uniqueName("PatientScannerBatch");
  PatientScanner scanner{bench.owner, bench.services};
};

TEST_F(PatientScannerBatch, IsNamelessUntilNamed) {
  const PatientScanner fresh(bench.owner, bench.services);
  EXPECT_EQ(fresh.myName(), "");
  EXPECT_EQ(scanner.myName(), name);
}

TEST_F(PatientScannerBatch, StartsEmptyAndTakesUpToTwoHundredPaths) {
  EXPECT_TRUE(scanner.scanList().empty());
  Paths paths;
  for (int index = 0; index < 201; ++index) {
    paths.push_back(bench.file(std::to_string(index)));
  }
  bench.makeReady(paths);
  scanner.getItemsToScan(bench.dispatcher);
  EXPECT_EQ(scanner.scanList().size(), 200U);
}

TEST_F(PatientScannerBatch, IsEmptyWhenTheOtherScannerTookEverything) {
  bench.makeReady({bench.file("a")});
  PatientScanner other(bench.owner, bench.services);
  other.getItemsToScan(bench.dispatcher);
  scanner.getItemsToScan(bench.dispatcher);
  EXPECT_EQ(other.scanList().size(), 1U);
  EXPECT_TRUE(scanner.scanList().empty());
}

TEST_F(PatientScannerBatch, ExcludedWholeStartsNoEngineAndWritesNoList) {
  exclude({excludePattern("secret", true, false)});
  bench.makeReady({bench.file("secret one"), bench.file("secret two")});
  scanner.round();
  EXPECT_EQ(bench.owner.calls(), Paths());
  EXPECT_TRUE(bench.pipeline.startedPaths().empty());
  EXPECT_FALSE(std::filesystem::exists(ScannerBench::listPath(name)));
  EXPECT_TRUE(scanner.scanList().empty());
  EXPECT_EQ(bench.dispatcher.scannableCount(), 0);
}

TEST_F(PatientScannerBatch, KeepsEverythingWithoutThePreference) {
  scanner.setMenuAndParams(ScannerBench::arguments("/no/such/engine"), bench.owner.chosen);
  EXPECT_EQ(remainingOf({"/b", "/a"}), (Paths{"/b", "/a"}));
}

TEST_F(PatientScannerBatch, LosesWhatAnyPatternMatchesAndKeepsItsOrder) {
  exclude({excludePattern("one", true, false), excludePattern("three$", true, true)});
  EXPECT_EQ(remainingOf({"/d", "/one", "/c", "/three", "/threes", "/a"}),
            (Paths{"/d", "/c", "/threes", "/a"}));
}

TEST_F(PatientScannerBatch, PatternsThatAreNotEnabledExcludeNothing) {
  PreferenceDictionary withoutFlag;
  withoutFlag["excludePattern"] = PreferenceValue{std::string("a")};
  exclude({excludePattern("a", false, false), {withoutFlag}});
  EXPECT_EQ(remainingOf({"/a"}), Paths{"/a"});
}

TEST_F(PatientScannerBatch, AnEmptyPatternExcludesNothing) {
  PreferenceDictionary withoutPattern;
  withoutPattern["excludeEnabled"] = PreferenceValue{true};
  exclude({excludePattern("", true, false), excludePattern("", true, true), {withoutPattern}});
  EXPECT_EQ(remainingOf({"/a"}), Paths{"/a"});
}

TEST_F(PatientScannerBatch, APatternThatDoesNotCompileExcludesNothingAndIsNotReported) {
  exclude({excludePattern("(", true, true), excludePattern("b", true, true)});
  EXPECT_EQ(remainingOf({"/(", "/b"}), Paths{"/("});
  EXPECT_EQ(bench.desktop.systemLog.lines(), Paths());
}

TEST_F(PatientScannerBatch, APlainPatternIsMatchedLiterally) {
  exclude({excludePattern("~/Down*loads.d", true, false)});
  EXPECT_EQ(remainingOf({"/home/anna/Down*loads.d/a", "/home/anna/Downloads.d/a",
                         "/home/anna/Down*loadsxd", "~/Down*loads.d"}),
            (Paths{"/home/anna/Downloads.d/a", "/home/anna/Down*loadsxd", "~/Down*loads.d"}));
}

TEST_F(PatientScannerBatch, TheSameTextAsAnExpressionIsUsedAsItStands) {
  exclude({excludePattern("~/Down*loads.d", true, true)});
  EXPECT_EQ(remainingOf({"/home/anna/Down*loads.d/a", "/x~/Downnnloadsxd", "/x~/Dowloads.d"}),
            Paths{"/home/anna/Down*loads.d/a"});
}

TEST_F(PatientScannerBatch, AnExpressionAnchoredToTheFileNameWorksInAnyFolder) {
  exclude({excludePattern("^Thumbs", true, true)});
  EXPECT_EQ(remainingOf({"/a/Thumbs.db", "/b/c/Thumbs", "/Thumbs/x", "/a/myThumbs"}),
            (Paths{"/Thumbs/x", "/a/myThumbs"}));
}

TEST_F(PatientScannerBatch, NewSettingsReplaceTheOldPatterns) {
  exclude({excludePattern("a", true, false)});
  exclude({excludePattern("b", true, false)});
  EXPECT_EQ(remainingOf({"/a", "/b"}), Paths{"/a"});
  bench.desktop.preferenceStore.remove("ExcludePatterns");
  scanner.setMenuAndParams(ScannerBench::arguments("/no/such/engine"), bench.owner.chosen);
  EXPECT_EQ(remainingOf({"/a", "/b"}), (Paths{"/a", "/b"}));
}

TEST_F(PatientScannerBatch, PreferencesOfAnotherTypeAreReportedAndIgnored) {
  bench.desktop.preferenceStore.set("ExcludePatterns", "text");
  scanner.setMenuAndParams(ScannerBench::arguments("/no/such/engine"), bench.owner.chosen);
  EXPECT_EQ(remainingOf({"/text"}), Paths{"/text"});
  exclude({{std::string("no table")}, excludePattern("a", true, false)});
  EXPECT_EQ(remainingOf({"/a", "/b"}), Paths{"/b"});
  EXPECT_FALSE(bench.desktop.systemLog.lines().empty());
}

TEST_F(PatientScannerBatch, SearchingTriesPathAndName) {
  EXPECT_TRUE(PatientScanner::searchForRegEx("/a/b", "^b$"));
  EXPECT_TRUE(PatientScanner::searchForRegEx("/a/b", "^/a"));
  EXPECT_FALSE(PatientScanner::searchForRegEx("/a/b", "^a"));
  EXPECT_FALSE(PatientScanner::searchForRegEx("/a/b", "("));
}

TEST_F(PatientScannerBatch, AnEmptyChunkEndsTheReading) {
  StdoutCapture capture;
  EXPECT_FALSE(scanner.taskDataAvailable(""));
  EXPECT_EQ(capture.text(), "");
  EXPECT_TRUE(scanner.taskDataAvailable("/a: OK\n"));
  EXPECT_TRUE(capture.text().ends_with(" /a: OK\n"));
}

TEST_F(PatientScannerBatch, KeepsItsQuarantineFolderUntilItIsGivenAnother) {
  using Action = InfectedFileAction;
  const auto take = [this](Action action, const std::optional<std::string>& folder) {
    bench.owner.chosen.quarantineOrTrash = action;
    bench.owner.chosen.quarantineFolder = folder;
    scanner.setMenuAndParams(ScannerBench::arguments("/no/such/engine"), bench.owner.chosen);
    return scanner.quarantineLocation();
  };
  EXPECT_EQ(take(Action::leaveInPlace, std::nullopt), "");
  EXPECT_EQ(take(Action::quarantine, "/quarantine"), "/quarantine");
  EXPECT_EQ(take(Action::leaveInPlace, std::nullopt), "/quarantine");
  EXPECT_EQ(take(Action::moveToTrash, std::nullopt), "/quarantine");
  EXPECT_EQ(take(Action::quarantine, "/other"), "/other");
  EXPECT_EQ(take(Action::quarantine, ""), "");
}

}  // namespace
}  // namespace quillo
