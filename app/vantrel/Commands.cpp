#include "app/vantrel/Commands.h"

namespace quillo {

CommandTable commands() { return CommandTable({}); }

}  // namespace quillo
