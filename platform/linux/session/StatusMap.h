#pragma once

#include <QVariantMap>
#include <optional>

#include "platform/AgentLink.h"

namespace quillo {

// An agent's status as D-Bus carries it, a{sv}; docs/status.md lists its keys. Pure.

QVariantMap statusMap(const AgentStatus& status);
// Returns the status that a map stands for. A key that is missing keeps its default, one that is
// unknown is passed over. Nothing when it is none: without a version, with a value of another type,
// or with more than an agent would say.
std::optional<AgentStatus> statusIn(const QVariantMap& map);

}  // namespace quillo
