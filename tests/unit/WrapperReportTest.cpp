#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <functional>

#include "posix/Text.h"
#include "posix/UniqueFd.h"
#include "tools/clamdscan/Report.h"

namespace quillo::wrapper {
namespace {

// The pieces that were written, each by itself.
std::vector<std::string> written(const std::function<void(Report&)>& say,
                                 Report::Style style = {}) {
  int ends[2];
  // A pipe in packet mode keeps the writes apart.
  EXPECT_EQ(pipe2(ends, O_CLOEXEC | O_DIRECT | O_NONBLOCK), 0);
  const UniqueFd reader(ends[0]);
  const UniqueFd writer(ends[1]);
  style.output = writer.get();
  style.errors = writer.get();
  Report report(style);
  say(report);
  report.flush();
  std::vector<std::string> pieces;
  std::array<char, 65536> bytes;
  for (ssize_t count = 0; (count = read(reader.get(), bytes.data(), bytes.size())) > 0;) {
    pieces.emplace_back(bytes.data(), static_cast<std::size_t>(count));
  }
  return pieces;
}

std::string text(const std::function<void(Report&)>& say, const Report::Style& style = {}) {
  std::string all;
  for (const std::string& piece : written(say, style)) {
    all += piece;
  }
  return all;
}

Verdict infection(std::string_view path, std::string_view threat) {
  Verdict verdict;
  verdict.kind = Verdict::Kind::infected;
  verdict.path = path;
  verdict.threat = threat;
  return verdict;
}

TEST(WrapperReport, WritesVerdictsAsTheClientDoes) {
  EXPECT_EQ(text([](Report& report) {
              report.clean("/a");
              report.infected(infection("/b", "Name"));
              report.notScanned("/c", "socket");
            }),
            "/a: OK\n/b: Name FOUND\n/c: Not scanned: socket\n");
}

TEST(WrapperReport, LetsNothingElseLookLikeAVerdict) {
  for (const auto& say : std::vector<std::function<void(Report&)>>{
           [](Report& report) { report.error("ERROR: no list /x FOUND"); },
           [](Report& report) { report.remark("odd /x: Bad FOUND"); },
           [](Report& report) { report.summary("odd FOUND"); },
           [](Report& report) { report.notScanned("/x", "Bad FOUND"); }}) {
    const std::string line = text(say);
    EXPECT_EQ(line.find(" FOUND\n"), std::string::npos) << line;
  }
}

TEST(WrapperReport, KeepsColonsAndLineBreaksOutOfTheThreat) {
  EXPECT_EQ(text([](Report& report) { report.infected(infection("/x:y", "A:B\nC")); }),
            "/x:y: A_B\\x0AC FOUND\n");
}

TEST(WrapperReport, WritesWholeLinesInPiecesThatArriveWhole) {
  const std::vector<std::string> pieces = written([](Report& report) {
    for (int i = 0; i < 200; ++i) {
      report.clean("/" + std::string(100, 'x') + std::to_string(i));
    }
  });
  EXPECT_GE(pieces.size(), 5U);
  EXPECT_LE(pieces.size(), 7U);
  for (const std::string& piece : pieces) {
    EXPECT_LE(piece.size(), 4096U);
    EXPECT_EQ(piece.back(), '\n');
  }
}

TEST(WrapperReport, NeverTearsALineThatIsTooLongForOnePiece) {
  const std::string all = text(
      [](Report& report) { report.infected(infection("/" + std::string(9000, 'x'), "Name")); });
  EXPECT_EQ(all.size(), 9001 + std::string(": Name FOUND\n").size());
}

TEST(WrapperReport, SaysInfectedFilesOnlyWhenAsked) {
  const auto say = [](Report& report) {
    report.clean("/a");
    report.infected(infection("/b", "Name"));
    report.notScanned("/c", "socket");
  };
  EXPECT_EQ(text(say, {1, 2, true, false}), "/b: Name FOUND\n/c: Not scanned: socket\n");
  EXPECT_EQ(text(say, {1, 2, false, true}), "/c: Not scanned: socket\n");
}

TEST(WrapperReport, EndsWithTheWorstStatus) {
  Report report({-1, -1});
  report.clean("/a");
  EXPECT_EQ(report.exitStatus(), 0);
  report.notScanned("/b", "socket");
  EXPECT_EQ(report.exitStatus(), 2);
  report.infected(infection("/c", "Name"));
  EXPECT_EQ(report.exitStatus(), 1);
}

}  // namespace
}  // namespace quillo::wrapper
