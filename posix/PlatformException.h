#pragma once

#include <exception>
#include <string>
#include <utility>

namespace quillo {

// A failure that the workers catch and log by its name and its reason.
class PlatformException : public std::exception {
 public:
  PlatformException(std::string name, std::string reason)
      : name_(std::move(name)), reason_(std::move(reason)) {}

  const std::string& name() const { return name_; }
  const std::string& reason() const { return reason_; }
  const char* what() const noexcept override { return reason_.c_str(); }

 private:
  std::string name_;
  std::string reason_;
};

}  // namespace quillo
