#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

#include "tests/fakes/desktop/FakePage.h"

namespace quillo {
namespace {

TEST(FakePageTest, HasWhatItsInterfaceFileHas) {
  FakePage page("scan");
  EXPECT_NO_THROW(page.setText("report", "a"));
  EXPECT_THROW(page.setText("rapport", "a"), std::logic_error);
  EXPECT_THROW(page.onAction("rapport", [] {}), std::logic_error);
  EXPECT_THROW(page.isVisible("rapport"), std::logic_error);
}

TEST(FakePageTest, FindsNoNameTwiceOnAnyPage) {
  int pages = 0;
  for (const auto& file :
       std::filesystem::directory_iterator(QUILLO_SOURCE_DIR "/resources/interface/vantrel")) {
    EXPECT_NO_THROW(FakePage(file.path().stem())) << file.path();
    ++pages;
  }
  EXPECT_GE(pages, 9);
}

}  // namespace
}  // namespace quillo
