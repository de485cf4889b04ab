#include <gtest/gtest.h>

#include "companion/StartRequest.h"

namespace quillo {
namespace {

using Kind = StartRequest::Kind;
using Words = std::vector<std::string>;

TEST(StartRequestTest, AsksForTheWindowWithoutAWord) {
  const StartRequest request = StartRequest::of({});
  EXPECT_EQ(request.kind, Kind::window);
  EXPECT_EQ(request.page, "");
}

TEST(StartRequestTest, NamesAPage) {
  for (const Words& words : {Words{"--page", "settings"}, Words{"--page=settings"}}) {
    const StartRequest request = StartRequest::of(words);
    EXPECT_EQ(request.kind, Kind::window);
    EXPECT_EQ(request.page, "settings");
  }
}

TEST(StartRequestTest, TakesPathsAsTheyAre) {
  for (const Words& words : {Words{"--open", "-a", "\xff"}, Words{"--open", "--", "-a", "\xff"}}) {
    const StartRequest request = StartRequest::of(words);
    EXPECT_EQ(request.kind, Kind::window);
    EXPECT_EQ(request.paths, (Words{"-a", "\xff"}));
  }
}

TEST(StartRequestTest, HandsTheWordsOfACommandOn) {
  const StartRequest request = StartRequest::of({"scan", "--json", "--help", "x"});
  EXPECT_EQ(request.kind, Kind::command);
  EXPECT_EQ(request.command, "scan");
  EXPECT_EQ(request.words, (Words{"--json", "--help", "x"}));
}

TEST(StartRequestTest, AnswersByItself) {
  EXPECT_EQ(StartRequest::of({"--help"}).kind, Kind::help);
  EXPECT_EQ(StartRequest::of({"-h"}).kind, Kind::help);
  EXPECT_EQ(StartRequest::of({"--version"}).kind, Kind::version);
  EXPECT_EQ(StartRequest::of({"--service"}).kind, Kind::service);
}

TEST(StartRequestTest, NamesTheWordThatItDoesNotUnderstand) {
  const std::vector<std::pair<Words, std::string>> cases = {
      {{"--nonsense"}, "--nonsense"}, {{"-x"}, "-x"},           {{""}, ""},
      {{"--page"}, "--page"},         {{"--page="}, "--page="}, {{"--page", "a", "b"}, "b"},
      {{"--page=a", "b"}, "b"},       {{"--open"}, "--open"},   {{"--open", "a", ""}, ""},
      {{"--open", "--"}, "--open"},   {{"--help", "x"}, "x"},   {{"--service", "x"}, "x"}};
  for (const auto& [words, word] : cases) {
    const StartRequest request = StartRequest::of(words);
    EXPECT_EQ(request.kind, Kind::misused) << word;
    EXPECT_EQ(request.word, word);
  }
}

}  // namespace
}  // namespace quillo
