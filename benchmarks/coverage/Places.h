#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

// A file system with a guarded folder and one that is not.
struct Place {
  std::string title;    // "btrfs subvolume"
  std::string guarded;  // there, and everybody's to write in
  std::string outside;  // likewise
  std::string missing;  // why this machine does not have it; empty when it does
};

// The file system below `folder`, an ext4 of its own in a file in `images`, that everything else is
// put on. Returns why it is not to be had, or "".
std::string mountBase(const std::string& images, const std::string& folder);
// Mounts each of the others below `folder`.
std::vector<Place> mountPlaces(const std::string& images, const std::string& folder);

// A volume that is mounted while somebody watches, where everybody may write, at `point`.
// mount() returns why it is not to be had, or "".
class LaterVolume {
 public:
  LaterVolume(const std::string& images, std::string point);
  std::string mount() const;
  void unmount() const;

 private:
  std::string image_;
  std::string point_;
};

}  // namespace bench
