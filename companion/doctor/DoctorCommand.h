#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "companion/doctor/Finding.h"

namespace quillo {

// The services that the command uses.
struct DoctorCommandServices {
  AgentLink& agent;
  DesktopCheck& desktop;
  DoctorServices doctor;
};

// `vantrel doctor [--json]`: says of everything that guarding rests on whether it is in order, and
// what to do where it is not. `words` are those behind "doctor". Returns the exit status: 0 without
// a problem (there may be warnings), 1 with one, 2 when there is none but something cannot be told,
// or the words are not understood. docs/json.md has the document. Main thread.
int runDoctorCommand(const std::vector<std::string>& words, std::ostream& out, std::ostream& errors,
                     const DoctorCommandServices& services);

// Returns what a sign is called in documents: "good", "warning", "problem", "unknown".
const char* nameOf(Finding::Sign sign);
// Returns the worst of them: of a problem, what cannot be told, a warning and good.
Finding::Sign worstOf(const std::vector<Finding>& findings);

}  // namespace quillo
