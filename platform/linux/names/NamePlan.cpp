#include "platform/linux/names/NamePlan.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::array<std::string_view, 26> networkTypes = {"9p",
                                                           "afs",
                                                           "ceph",
                                                           "cifs",
                                                           "coda",
                                                           "fuse.ceph",
                                                           "fuse.goofys",
                                                           "fuse.davfs",
                                                           "fuse.davfs2",
                                                           "fuse.gcsfuse",
                                                           "fuse.juicefs",
                                                           "fuse.rclone",
                                                           "fuse.s3fs",
                                                           "fuse.smbnetfs",
                                                           "fuse.sshfs",
                                                           "fuse.curlftpfs",
                                                           "fuse.glusterfs",
                                                           "fuse.vmhgfs-fuse",
                                                           "gfs2",
                                                           "nfs",
                                                           "nfs4",
                                                           "ocfs2",
                                                           "smb3",
                                                           "smbfs",
                                                           "vboxsf",
                                                           "virtiofs"};

// The kernel's own, and those that show what lies elsewhere already.
constexpr std::array<std::string_view, 26> otherTypes = {
    "autofs",          "binfmt_misc",  "bpf",       "cgroup",   "cgroup2",    "configfs",
    "debugfs",         "devpts",       "devtmpfs",  "efivarfs", "fuse.lxcfs", "fusectl",
    "fuse.portal",     "hugetlbfs",    "mqueue",    "nsfs",     "proc",       "pstore",
    "rpc_pipefs",      "securityfs",   "selinuxfs", "squashfs", "sysfs",      "tracefs",
    "fuse.gvfsd-fuse", "fuse.snapfuse"};

template <std::size_t count>
bool holds(const std::array<std::string_view, count>& all, std::string_view one) {
  return std::find(all.begin(), all.end(), one) != all.end();
}

// Some FUSE file systems name only what they show, a WebDAV share for example.
bool isNetwork(const Mount& mount) {
  return holds(networkTypes, mount.type) ||
         (mount.type.starts_with("fuse") && mount.source.find("://") != std::string::npos);
}

bool liesBelow(const std::string& path, const std::string& folder) {
  return folder == "/" ? path != "/" : path.starts_with(folder + "/");
}

// The mount that the path is on: of those that hold it the innermost, and the last one on top.
const Mount* mountOf(const std::string& path, const std::vector<Mount>& mounts) {
  const Mount* found = nullptr;
  for (const Mount& mount : mounts) {
    if ((path == mount.mountPoint || liesBelow(path, mount.mountPoint)) &&
        (!found || mount.mountPoint.size() >= found->mountPoint.size())) {
      found = &mount;
    }
  }
  return found;
}

class Planner {
 public:
  Planner(const std::vector<Mount>& mounts, const std::function<bool(const std::string&)>& handles)
      : mounts_(mounts), hasHandles_(handles) {}

  void add(const NamedPlace& place) {
    const RealPath real(place.path);
    const std::string& path = real.path();
    const Mount* mount = mountOf(path, mounts_);
    const bool mayGivePaths = place.withSubfolders || path == "/";
    if (!mount || !mayGivePaths) {
      return;
    }
    const bool needsRoot = needsNames(*mount);
    if (isNetwork(*mount)) {
      plan.onNetwork.push_back(place.path);
    } else if (needsRoot) {
      addRoot(place, path, *mount);
    }
    if (needsRoot || !real.links().empty()) {
      plan.ways.push_back(real);
    }
    if (place.withSubfolders) {
      addMountsBelow(place, path);
    }
  }

  NamePlan plan;

 private:
  bool needsNames(const Mount& mount) const {
    return !isNetwork(mount) && !holds(otherTypes, mount.type) && !hasHandles_(mount.mountPoint);
  }

  void addRoot(const NamedPlace& place, const std::string& path, const Mount& mount) {
    // Asked once: it may vanish at any time, and what is missing is taken for a folder.
    const auto facts = fileFacts(path);
    if (!facts || facts->isDirectory) {
      plan.roots.push_back({path, place.withSubfolders, mount.id, place.path});
    } else {
      // A file: what takes its name is reported by the folder that it lies in.
      plan.roots.push_back({deletingLastPathComponent(path), false, mount.id, place.path});
    }
  }

  void addMountsBelow(const NamedPlace& place, const std::string& path) {
    for (const Mount& mount : mounts_) {
      if (liesBelow(mount.mountPoint, path) && mountOf(mount.mountPoint, mounts_) == &mount &&
          needsNames(mount)) {
        plan.roots.push_back({mount.mountPoint, true, mount.id, place.path});
      }
    }
  }

  const std::vector<Mount>& mounts_;
  const std::function<bool(const std::string&)>& hasHandles_;
};

bool covers(const NameRoot& one, const NameRoot& other) {
  return one.mountId == other.mountId && one.withSubfolders && liesBelow(other.folder, one.folder);
}

// Leaves out what another root reaches, and all but the widest of the same folder.
std::vector<NameRoot> withoutCovered(std::vector<NameRoot> roots) {
  std::stable_sort(roots.begin(), roots.end(), [](const NameRoot& one, const NameRoot& other) {
    return one.folder != other.folder ? one.folder < other.folder
                                      : one.withSubfolders && !other.withSubfolders;
  });
  std::vector<NameRoot> kept;
  for (const NameRoot& root : roots) {
    const bool isCovered = (!kept.empty() && kept.back().folder == root.folder) ||
                           std::any_of(kept.begin(), kept.end(),
                                       [&](const NameRoot& one) { return covers(one, root); });
    if (!isCovered) {
      kept.push_back(root);
    }
  }
  return kept;
}

}  // namespace

NamePlan planNames(const std::vector<NamedPlace>& places, const std::vector<Mount>& mounts,
                   const std::function<bool(const std::string&)>& hasHandles) {
  Planner planner(mounts, hasHandles);
  for (const NamedPlace& place : places) {
    planner.add(place);
  }
  planner.plan.roots = withoutCovered(std::move(planner.plan.roots));
  return std::move(planner.plan);
}

}  // namespace quillo
