#pragma once

#include <exception>
#include <string>
#include <utility>

namespace quillo {

// A failure that the workers catch and log by its name and its reason. What to do about it is
// decided by its kind alone; the texts are for people.
class PlatformException : public std::exception {
 public:
  enum class Kind {
    cannotLaunch,     // the program is not there or cannot be run
    invalidArgument,  // the caller's mistake
    notFound,         // a file, a package or an account is missing or unusable
    notPermitted,     // the system or a check of this program refuses it
    noResources,      // memory, descriptors, processes or room are used up
    failed            // anything else
  };

  PlatformException(Kind kind, std::string name, std::string reason)
      : kind_(kind), name_(std::move(name)), reason_(std::move(reason)) {}

  // Returns the failure of a system call: its kind follows from `error`, an errno(3), and its
  // reason is `what`, a colon and strerror(3).
  static PlatformException ofSystemCall(std::string name, const std::string& what, int error);

  Kind kind() const { return kind_; }
  const std::string& name() const { return name_; }
  const std::string& reason() const { return reason_; }
  const char* what() const noexcept override { return reason_.c_str(); }

 private:
  Kind kind_;
  std::string name_;
  std::string reason_;
};

}  // namespace quillo
