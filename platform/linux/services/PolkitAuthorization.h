#pragma once

#include <string>

#include "platform/Authorization.h"
#include "platform/LocalizedStrings.h"

namespace quillo {

// Administrator rights through pkexec(1), which asks the user in a window of the desktop's.
// Whatever is run, the helper has no set-group-ID bit afterwards: the granter sees to it, or a
// shell where the granter is not there.
class PolkitAuthorization final : public Authorization {
 public:
  struct Places {
    // The program that is to get its rights; nothing is run while whyUnsafe() has something against
    // it.
    std::string helper;
    // Run by pkexec in front of the command where it is installed, so that polkit knows what to ask
    // (packaging/polkit); left out where it is not there.
    std::string granter;
    std::string pkexec = "/usr/bin/pkexec";
    // The process is root already: pkexec is not needed.
    bool isRoot = false;
  };

  PolkitAuthorization(Places places, LocalizedStrings& strings)
      : places_(std::move(places)), strings_(strings) {}

  bool executeWithPrivileges(const std::string& program, const std::vector<std::string>& arguments,
                             std::string& reason) override;

 private:
  std::string text(const std::string& key, const std::string& detail = {}) const;

  const Places places_;
  LocalizedStrings& strings_;
};

// Returns why a program may not be made set-user-ID root, for people ("/home/a belongs to a"); an
// empty wording when nobody but root can write it or the folders above it, and it has one name
// only. A sticky folder that all can write, as /tmp, does not do: there anybody can give another
// program of root's the name that is asked for (link(2)). Mind that a command like "chown root
// FILE; chmod +s FILE" makes root's what another user wrote, and follows symbolic links: the file
// has to be root's before. Any thread.
Wording whyUnsafe(const std::string& path);

}  // namespace quillo
