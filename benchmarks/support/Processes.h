#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Processes of the benchmark: started as an ordinary user, measured through /proc (proc(5)).
namespace bench {

inline constexpr uid_t ordinaryUser = 12345;
inline constexpr uid_t rootUser = 0;

using Seconds = std::chrono::duration<double>;
Seconds now();

// Starts a program as that user, with this environment alone and its output into `log` (or the null
// device). Throws std::runtime_error when it cannot.
pid_t start(const std::vector<std::string>& command, const std::vector<std::string>& environment,
            const std::string& log = "/dev/null", uid_t user = ordinaryUser);
// The same for what the caller does itself in a process of its own; what it returns is the exit
// status.
pid_t startFork(const std::function<int()>& work, uid_t user = ordinaryUser);
// Waits for it and returns its exit status.
int finish(pid_t pid);
int run(const std::vector<std::string>& command, const std::vector<std::string>& environment,
        const std::string& log = "/dev/null", uid_t user = ordinaryUser);
// Ends it with that signal and waits for it.
void end(pid_t pid, int signal);

// What a process that still runs has used so far.
struct Usage {
  double processorSeconds = 0;
  double peakMegabytes = 0;
};
Usage usageOf(pid_t pid);
// Processor time of this process's own children that have ended and were waited for.
Seconds childrensTime();
// The first child of that process with that name.
std::optional<pid_t> childNamed(pid_t parent, const std::string& name);

}  // namespace bench
