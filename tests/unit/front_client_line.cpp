#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tools/clamdscan/ClientLine.h"

namespace quillo::front {
namespace {

using Kind = ClientLine::Kind;

ClientLine parse(std::string_view line, const std::set<std::string, std::less<>>& known) {
  return ClientLine::parse(line,
                           [&](std::string_view path) { return known.find(path) != known.end(); });
}

TEST(FrontClientLine, ReadsVerdicts) {
  const auto clean = parse("/a: OK", {"/a"});
  EXPECT_EQ(clean.kind, Kind::clean);
  EXPECT_EQ(clean.path, "/a");
  const auto infected = parse("/a: Some.Name FOUND", {"/a"});
  EXPECT_EQ(infected.kind, Kind::infected);
  EXPECT_EQ(infected.text, "Some.Name");
  const auto failed = parse("/a: Failed to open file", {"/a"});
  EXPECT_EQ(failed.kind, Kind::failed);
  EXPECT_EQ(failed.text, "Failed to open file");
}

TEST(FrontClientLine, ReadsWhatCouldNotBeReached) {
  EXPECT_EQ(parse("ERROR: Can't access file /a", {"/a"}).kind, Kind::inaccessible);
  EXPECT_EQ(parse("WARNING: /a: Not supported file type", {"/a"}).kind, Kind::inaccessible);
}

TEST(FrontClientLine, TakesNoNameForAVerdict) {
  const auto clean = parse("/a: Bad FOUND: OK", {"/a: Bad FOUND", "/a"});
  EXPECT_EQ(clean.kind, Kind::clean);
  EXPECT_EQ(clean.path, "/a: Bad FOUND");
  const auto infected = parse("/a: OK: Bad FOUND", {"/a: OK", "/a"});
  EXPECT_EQ(infected.path, "/a: OK");
  EXPECT_EQ(infected.kind, Kind::infected);
  const auto gone = parse("ERROR: Can't access file /a: Bad FOUND", {"/a: Bad FOUND"});
  EXPECT_EQ(gone.kind, Kind::inaccessible);
}

TEST(FrontClientLine, TakesNoVerdictForAPathThatWasNotAsked) {
  EXPECT_EQ(parse("/b: Bad FOUND", {"/a"}).kind, Kind::other);
  EXPECT_EQ(parse("/b: OK", {"/a"}).kind, Kind::other);
}

TEST(FrontClientLine, RecognisesALostDaemon) {
  for (const char* line :
       {"ERROR: Could not connect to clamd on LocalSocket /s: Connection refused",
        "ERROR: Clamd closed the connection before scanning all files.",
        "ERROR: Communication error"}) {
    EXPECT_EQ(parse(line, {"/a"}).kind, Kind::noDaemon) << line;
  }
  EXPECT_EQ(parse("", {"/a"}).kind, Kind::other);
}

}  // namespace
}  // namespace quillo::front
