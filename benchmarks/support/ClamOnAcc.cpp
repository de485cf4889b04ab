#include "benchmarks/support/ClamOnAcc.h"

#include <signal.h>

#include "benchmarks/support/StormFiles.h"

namespace bench {
namespace {

std::string options(const std::string& folder, ClamOnAcc::Scanning scanning,
                    const std::string& largestFile) {
  std::string text = "OnAccessIncludePath " + folder +
                     "\nOnAccessExcludeUname clamav\nOnAccessMaxFileSize " + largestFile + "\n";
  if (scanning == ClamOnAcc::Scanning::extra) {
    text += "OnAccessExtraScanning yes\n";
  }
  return text;
}

}  // namespace

ClamOnAcc::ClamOnAcc(PeerDaemon& daemon, const std::string& folder, Scanning scanning,
                     const std::string& largestFile)
    : daemon_(daemon),
      scanning_(scanning),
      log_(daemon.folder() + (scanning == Scanning::extra ? "/extra.log" : "/shipped.log")),
      configuration_(
          daemon.configurationWith(scanning == Scanning::extra ? "extra.conf" : "shipped.conf",
                                   options(folder, scanning, largestFile))) {}

std::string ClamOnAcc::name() const {
  return scanning_ == Scanning::extra ? "clamonacc, extra scanning" : "clamonacc as shipped";
}

void ClamOnAcc::start() {
  daemon_.start();
  writeFile(log_, "");
  pid_ = bench::start(
      {"/usr/sbin/clamonacc", "-F", "--log=" + log_, "--config-file=" + configuration_},
      {"PATH=/usr/bin:/bin"}, "/dev/null", rootUser);
}

void ClamOnAcc::stop() {
  end(pid_, SIGKILL);  // as its unit does
  pid_ = -1;
  daemon_.stop();
}

}  // namespace bench
