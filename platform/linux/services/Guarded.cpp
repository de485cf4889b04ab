#include "platform/linux/services/Guarded.h"

#include <QApplication>
#include <cstdio>
#include <exception>
#include <utility>

namespace quillo {
namespace {

std::function<void(const std::string&)>& reportOfGuard() {
  static std::function<void(const std::string&)> report;
  return report;
}

void report(const char* reason) noexcept {
  try {
    const std::string line = std::string("An action failed: ") + reason;
    if (reportOfGuard()) {
      reportOfGuard()(line);
    } else {
      std::fprintf(stderr, "%s\n", line.c_str());
    }
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr) {
      QApplication::beep();
    }
  } catch (...) {
    std::fputs("An action failed, and so did telling of it\n", stderr);
  }
}

}  // namespace

void guarded(const std::function<void()>& action) noexcept {
  try {
    action();
  } catch (const std::exception& failure) {
    report(failure.what());
  } catch (...) {
    report("unknown failure");
  }
}

void setGuardReport(std::function<void(const std::string& problem)> report) {
  reportOfGuard() = std::move(report);
}

}  // namespace quillo
