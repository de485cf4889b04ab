#include "benchmarks/coverage/Places.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "benchmarks/support/Processes.h"
#include "posix/ChildProcess.h"

namespace bench {
namespace {

using Command = std::vector<std::string>;

const std::string user = std::to_string(ordinaryUser);

// Programs are found in PATH. Throws with their first line when they do not end with 0.
void run(Command command) {
  std::string output;
  quillo::ChildProcess child({"/usr/bin/env", std::move(command)});
  const int status = child.waitUntilExit([&](std::string_view chunk) {
    output += chunk;
    return true;
  });
  if (status != 0) {
    throw std::runtime_error(output.substr(0, output.find('\n')));
  }
}

std::string makeImage(const std::string& images, const std::string& name) {
  std::string image = images + "/" + name;
  std::ofstream(image).close();
  std::filesystem::resize_file(image, std::uintmax_t{256} << 20U);
  return image;
}

void makeOpenFolder(const std::string& folder) {
  std::filesystem::create_directories(folder);
  // Not sticky, or nobody could link or rename what another user of the file system owns.
  if (chmod(folder.c_str(), 0777) != 0) {
    throw std::runtime_error("cannot open up " + folder);
  }
}

void mountImage(const std::string& type, const std::string& image, const std::string& point,
                const std::string& options = "") {
  run({"mount", "-t", type, "-o", "loop" + options, image, point});
}

void mountTmpfs(const std::string& /*images*/, const std::string& point) {
  run({"mount", "-t", "tmpfs", "-o", "mode=777", "none", point});
}

void mountSubvolume(const std::string& images, const std::string& point) {
  const std::string image = makeImage(images, "btrfs");
  run({"mkfs.btrfs", "--quiet", image});
  mountImage("btrfs", image, point);
  run({"btrfs", "subvolume", "create", point + "/@"});
  run({"umount", point});
  mountImage("btrfs", image, point, ",subvol=@");
}

void mountOverlay(const std::string& images, const std::string& point) {
  std::string options;
  for (const char* name : {"lower", "upper", "work"}) {
    const std::string folder = images + "/overlay-" + name;
    makeOpenFolder(folder);
    options += (options.empty() ? "" : ",") + std::string(name) + "dir=" + folder;
  }
  run({"mount", "-t", "overlay", "-o", options, "overlay", point});
}

void mountVfat(const std::string& images, const std::string& point) {
  const std::string image = makeImage(images, "vfat");
  run({"mkfs.vfat", image});
  mountImage("vfat", image, point, ",utf8,uid=" + user + ",gid=" + user);
}

bool isKnownToKernel(const std::string& type) {
  std::ifstream types("/proc/filesystems");
  for (std::string line; std::getline(types, line);) {
    if (line.substr(line.find('\t') + 1) == type) {
      return true;
    }
  }
  return false;
}

void mountExfat(const std::string& images, const std::string& point) {
  const std::string image = makeImage(images, "exfat");
  run({"mkfs.exfat", image});
  mountImage("exfat", image, point, ",uid=" + user + ",gid=" + user);
}

// It takes a block device alone.
void mountExfatFuse(const std::string& images, const std::string& point) {
  const std::string image = makeImage(images, "exfat-fuse");
  run({"mkfs.exfat", image});
  // Given up at once, it lasts as long as it is in use.
  run({"sh", "-ec",
       "device=$(losetup --find --show \"$0\"); mount.exfat-fuse -o allow_other,umask=0,uid=" +
           user + ",gid=" + user + " \"$device\" \"$1\"; losetup --detach \"$device\"",
       image, point});
}

void mountNtfs(const std::string& images, const std::string& point) {
  const std::string image = makeImage(images, "ntfs");
  run({"mkfs.ntfs", "-q", "-F", "-s", "512", "-p", "0", "-H", "255", "-S", "63", image});
  run({"ntfs-3g", image, point, "-o", "allow_other,umask=0"});
}

// fusermount(1) mounts for nobody without a name (passwd(5)).
void nameUser(const std::string& images) {
  const std::string accounts = images + "/passwd";
  std::filesystem::copy_file("/etc/passwd", accounts);
  std::ofstream(accounts, std::ios::app)
      << "benched:x:" << user << ":" << user << "::/tmp:/bin/sh\n";
  run({"mount", "--bind", accounts, "/etc/passwd"});
}

void mountUsersFuse(const std::string& images, const std::string& point) {
  const std::string source = images + "/bindfs";
  makeOpenFolder(source);
  nameUser(images);
  if (chown(point.c_str(), ordinaryUser, ordinaryUser) != 0) {
    throw std::runtime_error("cannot give away " + point);
  }
  run({"setpriv", "--reuid=" + user, "--regid=" + user, "--clear-groups", "bindfs",
       "--no-allow-other", source, point});
}

// By the user, for nobody else, not even root, can look into what a user mounts with FUSE.
void makeFoldersAsUser(const Place& place) {
  for (const std::string& folder : {place.guarded, place.outside}) {
    run({"setpriv", "--reuid=" + user, "--regid=" + user, "--clear-groups", "mkdir", "-m", "777",
         folder});
  }
}

using MountStep = void (*)(const std::string& images, const std::string& point);

Place mountPlace(const std::string& title, MountStep step, const std::string& images,
                 const std::string& point) {
  Place place{title, point + "/guarded", point + "/outside", ""};
  try {
    std::filesystem::create_directories(point);
    step(images, point);
    if (chmod(point.c_str(), 0777) != 0 && step != mountUsersFuse) {
      throw std::runtime_error("cannot open up its top folder");
    }
    makeFoldersAsUser(place);
  } catch (const std::exception& failure) {
    place.missing = failure.what();
  }
  return place;
}

}  // namespace

std::string mountBase(const std::string& images, const std::string& folder) {
  try {
    std::filesystem::create_directories(folder);
    const std::string image = makeImage(images, "base");
    run({"mkfs.ext4", "-q", image});
    mountImage("ext4", image, folder);
    return "";
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

std::vector<Place> mountPlaces(const std::string& images, const std::string& folder) {
  const bool knowsExfat = isKnownToKernel("exfat");
  std::vector<Place> places;
  const auto add = [&](const std::string& title, const std::string& name, MountStep step) {
    places.push_back(mountPlace(title, step, images, std::string(folder).append("/").append(name)));
  };
  add("tmpfs", "tmpfs", mountTmpfs);
  add("btrfs subvolume", "btrfs", mountSubvolume);
  add("overlay", "overlay", mountOverlay);
  add("vfat", "vfat", mountVfat);
  add(knowsExfat ? "exfat" : "exfat (by exfat-fuse)", "exfat",
      knowsExfat ? mountExfat : mountExfatFuse);
  add("ntfs (by ntfs-3g)", "ntfs", mountNtfs);
  add("FUSE (bindfs, mounted by its user)", "fuse", mountUsersFuse);
  return places;
}

LaterVolume::LaterVolume(const std::string& images, std::string point)
    : image_(makeImage(images, "later")), point_(std::move(point)) {
  run({"mkfs.ext4", "-q", image_});
}

std::string LaterVolume::mount() const {
  try {
    mountImage("ext4", image_, point_);
    makeOpenFolder(point_);
    return "";
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

void LaterVolume::unmount() const { umount2(point_.c_str(), MNT_DETACH); }

}  // namespace bench
