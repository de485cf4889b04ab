#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/fakes/scanning/DirectScannerBench.h"

namespace quillo {
namespace {

using Paths = std::vector<std::string>;

// Whatever the size tool says of the folders: it is asked for real.
class ScannerFiltering : public testing::Test {
 protected:
  ScannerFiltering() {
    for (const char* name : {"in/a.zip", "in/b.txt", "in/deep/er/c.zip", "in/.hidden.zip"}) {
      world.bench.file(name);
    }
  }
  // Sorted: a folder's entries come in any order.
  Paths scan(const Paths& paths) {
    Paths scanned = world.scan(paths);
    std::sort(scanned.begin(), scanned.end());
    return scanned;
  }
  Paths pathsOf(const Paths& names) {
    Paths paths;
    for (const std::string& name : names) {
      paths.push_back(world.path(name));
    }
    return paths;
  }
  void filter(const std::string& include, const std::string& exclude) {
    world.bench.owner.chosen.includePattern = include;
    world.bench.owner.chosen.excludePattern = exclude;
  }

  DirectScannerBench world;
};

TEST_F(ScannerFiltering, WithoutPatternsAFolderGoesToTheEngineWhole) {
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in"}));
  EXPECT_EQ(world.output, "");
}

TEST_F(ScannerFiltering, WithAnIncludePatternOnlyItsFilesAreScanned) {
  filter("zip$", "");
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in/.hidden.zip", "in/a.zip", "in/deep/er/c.zip"}));
  EXPECT_EQ(world.output, "currentSubPaths length: 4\n");
}

TEST_F(ScannerFiltering, WithOnlyAnExcludePatternAllButItsFilesAreScanned) {
  filter("", "er/c");
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in/.hidden.zip", "in/a.zip", "in/b.txt"}));
}

TEST_F(ScannerFiltering, WithBothAFileMustMatchTheOneAndNotTheOther) {
  filter("zip$", "deep|hidden");
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in/a.zip"}));
}

TEST_F(ScannerFiltering, APlainFileIsDroppedWithAnyPattern) {
  filter("zip", "");
  EXPECT_EQ(scan({world.path("in/a.zip")}), Paths());
  filter("", "txt");
  EXPECT_EQ(scan({world.path("in/a.zip")}), Paths());
  EXPECT_EQ(world.output, "");
  EXPECT_EQ(world.bench.owner.calls(), Paths());
}

TEST_F(ScannerFiltering, APatternIsHeldAgainstTheFullPathAlone) {
  filter("^a", "");
  EXPECT_EQ(scan({world.path("in")}), Paths());
  filter("^/.*/a", "");
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in/a.zip"}));
  EXPECT_TRUE(Scanner::searchForRegEx("/a/b", "^/a"));
  EXPECT_FALSE(Scanner::searchForRegEx("/a/b", "^b$"));
  EXPECT_FALSE(Scanner::searchForRegEx("/A", "a"));
}

TEST_F(ScannerFiltering, APatternThatDoesNotCompileMatchesNothing) {
  filter("(", "");
  EXPECT_EQ(scan({world.path("in")}), Paths());
  filter("", "(");
  EXPECT_EQ(scan({world.path("in")}).size(), 4U);
  EXPECT_FALSE(Scanner::searchForRegEx("/(", "("));
}

TEST_F(ScannerFiltering, FoldersAreLeftOutButNotTheLinksToThem) {
  std::filesystem::create_directory_symlink(world.path("in/deep"), world.path("in/link"));
  filter("", "zip|txt");
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in/link"}));
}

TEST_F(ScannerFiltering, FilesOfSeveralFoldersAreScannedInOneRun) {
  world.bench.file("other/d.zip");
  filter("[ad]\\.zip", "");
  EXPECT_EQ(scan({world.path("in"), world.path("other"), world.path("in/b.txt")}),
            pathsOf({"in/a.zip", "other/d.zip"}));
  EXPECT_EQ(world.output, "currentSubPaths length: 4\ncurrentSubPaths length: 1\n");
}

TEST_F(ScannerFiltering, AnEmptyFolderHoldsNothingToScan) {
  filter("", "zip");
  EXPECT_EQ(scan({world.bench.folder.makeFolder("empty")}), Paths());
  EXPECT_EQ(world.output, "");
}

}  // namespace
}  // namespace quillo
