#pragma once

#include <string>
#include <vector>

#include "clamav/Definitions.h"
#include "tools/engine-tree/TreePlan.h"

namespace quillo {

// What a run is asked for.
struct TreeRequest {
  std::string root;
  bool machineWide = false;
  // Holds the programs "clamdscan" and "engine-launcher" that the tree gets copies of.
  std::string toolFolder;
  MachinePlaces places = {};
};

// Makes the engine tree below `request.root`, or brings one up to date: programs, configuration,
// socket folder, and the built-in definition where there are no real ones. Touches nothing else.
// Returns what it planned. Throws PlatformException when a package is missing or a file cannot be
// written; each file is then the old or the new one. One run at a time: a second one waits.
TreePlan makeTree(const TreeRequest& request);

// Brings a tree that exists up to date without its programs; returns and throws as makeTree(). For
// a daemon about to start nothing is taken over from the folder of the last one's socket, see
// renewSocketFolder().
enum class SocketFolderUse { keep, renew };
TreePlan refreshTree(const std::string& root, const MachinePlaces& places,
                     SocketFolderUse use = SocketFolderUse::keep);

// Returns what was made, in plain words, one line each.
std::vector<std::string> describe(const TreePlan& plan, const TreeRequest& request);

// Returns why the tree is not ready to guard: what is missing in it, a daemon that does not answer,
// real definitions that are not there, or are old. Changes nothing.
std::vector<std::string> checkTree(const std::string& root, const MachinePlaces& places);

// Returns $XDG_DATA_HOME/vantrel/engine (XDG base directories, freedesktop.org), or for the machine
// /usr/local/vantrel. Throws PlatformException when the user has no home folder.
std::string defaultRoot(bool machineWide);

}  // namespace quillo
