#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

namespace quillo {

// A folder of the test's own, gone with everything in it when the object goes. What cannot be made
// in it is a std::system_error.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(const std::string& below = "/tmp");
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  // Without a "/" at its end.
  const std::string& path() const { return path_; }
  // The path of something in it. The others make it, with the folders it needs, and return its
  // path. A file that is there keeps its mode unless another one than 0644 is given.
  std::string at(std::string_view name) const { return path_ + "/" + std::string(name); }
  std::string write(std::string_view name, std::string_view contents = "text",
                    mode_t mode = 0644) const;
  std::string writeProgram(std::string_view name, std::string_view contents) const {
    return write(name, contents, 0755);
  }
  std::string makeFolder(std::string_view name) const;
  std::string link(std::string_view name, std::string_view target) const;

  // All of a file; "" if there is none.
  static std::string read(const std::string& path);
  // Whether something lies there, be it a link that leads nowhere.
  static bool exists(const std::string& path);

 private:
  std::string path_;
};

}  // namespace quillo
