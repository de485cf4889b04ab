#include <gtest/gtest.h>

#include "posix/FileUri.h"

namespace quillo {
namespace {

using Path = std::optional<std::string>;

TEST(FileUri, NamesAPathOfAnyBytes) {
  EXPECT_EQ(pathOfFileUri("file:///home/ada/r%E9sum%e9s/"), Path("/home/ada/r\xe9sum\xe9s/"));
  EXPECT_EQ(pathOfFileUri("file:///a%20b%0Ac%25%7e~"), Path("/a b\nc%~~"));
  EXPECT_EQ(pathOfFileUri("file:///a!$&'()*+,;=:@-._b"), Path("/a!$&'()*+,;=:@-._b"));
  EXPECT_EQ(pathOfFileUri("file:///"), Path("/"));
}

TEST(FileUri, MayBeWrittenWithoutAHostOrWithThisOne) {
  EXPECT_EQ(pathOfFileUri("file:/a"), Path("/a"));
  EXPECT_EQ(pathOfFileUri("FILE://LocalHost/a"), Path("/a"));
}

TEST(FileUri, IsNothingElse) {
  for (const char* wrong : {"",
                            "/a",
                            "~/a",
                            "file:",
                            "file://",
                            "file:a",
                            "file:~/a",
                            "file://localhost",
                            "file://other/a",
                            "file:////a",
                            "http:///a",
                            "file ///a",
                            "file:///a?b",
                            "file:///a#b",
                            "file:///a b",
                            "file:///a\nb",
                            "file:///\xc3\xa9",
                            "file:///a\\b",
                            "file:///a%",
                            "file:///a%4",
                            "file:///a%4g",
                            "file:///a%g4",
                            "file:///a%00",
                            "file:///a%2fb",
                            "file:///a%2Fb"}) {
    EXPECT_EQ(pathOfFileUri(wrong), std::nullopt) << wrong;
  }
  EXPECT_EQ(pathOfFileUri(std::string_view("file:///a\0b", 11)), std::nullopt);
}

TEST(FileUri, IsWrittenSoThatItIsReadBack) {
  std::string path = "/";
  for (int byte = 1; byte < 256; ++byte) {
    path += static_cast<char>(byte);
  }
  EXPECT_EQ(pathOfFileUri("file://" + percentEncodedPath(path)), Path(path));
  EXPECT_EQ(percentEncodedPath("/r\xe9sum\xe9 1~"), "/r%E9sum%E9%201~");
}

}  // namespace
}  // namespace quillo
