#pragma once

#include <memory>

#include "clamav/Verdict.h"
#include "platform/GrowlApplicationBridge.h"

namespace quillo {

class FoundFile;
class LocalizedStrings;
class ScannerOwner;
struct ScannerServices;

// What became of an infected file, as its notification tells it.
enum class FindOutcome { inPlace, notMoved, quarantined, trashed };

// The notification of one infected file, in words and with its buttons: of the file that still lies
// in its place, given as `left`, showing it and moving it to the trash; of one that lies in the
// quarantine, showing it there; of each, opening the scan log. Owner and services outlive it. Any
// thread.
NotificationDetails findNotification(const Verdict& infection, FindOutcome outcome,
                                     const std::shared_ptr<FoundFile>& left, ScannerOwner& owner,
                                     const ScannerServices& services);

}  // namespace quillo
