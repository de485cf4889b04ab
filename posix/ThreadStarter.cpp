#include "posix/ThreadStarter.h"

#include <pthread.h>

#include <exception>
#include <thread>

namespace quillo {

void DetachedThreads::detachNewThread(const std::string& name, std::function<void()> body) {
  std::thread([name, body = std::move(body), report = report_] {
    pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
    try {
      try {
        body();
      } catch (const std::exception& failure) {
        report("Thread " + name + " ended: " + failure.what());
      } catch (...) {
        report("Thread " + name + " ended with an unknown failure");
      }
    } catch (...) {
      // There is no memory left to say so.
    }
  }).detach();
}

}  // namespace quillo
