#include "tests/process/DyingDisk.h"

#include <signal.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstddef>

namespace quillo {
namespace {

int stepsLeft = 0;
bool tearsWrites = false;
sqlite3_vfs* disk = nullptr;

// The file of the disk itself lies behind it.
struct File {
  sqlite3_file base;
  sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

sqlite3_file* realOf(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real(); }

bool isLast() { return --stepsLeft == 0; }

void die() { kill(getpid(), SIGKILL); }

void dieIfLast() {
  if (isLast()) {
    die();
  }
}

int closeFile(sqlite3_file* file) { return realOf(file)->pMethods->xClose(realOf(file)); }
int readFile(sqlite3_file* file, void* bytes, int count, sqlite3_int64 at) {
  return realOf(file)->pMethods->xRead(realOf(file), bytes, count, at);
}
int writeFile(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 at) {
  if (isLast()) {
    if (tearsWrites) {
      realOf(file)->pMethods->xWrite(realOf(file), bytes, count / 2, at);
    }
    die();
  }
  return realOf(file)->pMethods->xWrite(realOf(file), bytes, count, at);
}
int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
  dieIfLast();
  return realOf(file)->pMethods->xTruncate(realOf(file), size);
}
int syncFile(sqlite3_file* file, int flags) {
  dieIfLast();
  return realOf(file)->pMethods->xSync(realOf(file), flags);
}
int fileSize(sqlite3_file* file, sqlite3_int64* size) {
  return realOf(file)->pMethods->xFileSize(realOf(file), size);
}
int lockFile(sqlite3_file* file, int kind) {
  return realOf(file)->pMethods->xLock(realOf(file), kind);
}
int unlockFile(sqlite3_file* file, int kind) {
  return realOf(file)->pMethods->xUnlock(realOf(file), kind);
}
int checkReserved(sqlite3_file* file, int* isReserved) {
  return realOf(file)->pMethods->xCheckReservedLock(realOf(file), isReserved);
}
int controlFile(sqlite3_file* file, int operation, void* argument) {
  return realOf(file)->pMethods->xFileControl(realOf(file), operation, argument);
}
int sectorSize(sqlite3_file* file) { return realOf(file)->pMethods->xSectorSize(realOf(file)); }
int characteristics(sqlite3_file* file) {
  return realOf(file)->pMethods->xDeviceCharacteristics(realOf(file));
}
int mapShared(sqlite3_file* file, int page, int size, int extend, void volatile** start) {
  dieIfLast();
  return realOf(file)->pMethods->xShmMap(realOf(file), page, size, extend, start);
}
int lockShared(sqlite3_file* file, int offset, int count, int flags) {
  return realOf(file)->pMethods->xShmLock(realOf(file), offset, count, flags);
}
void orderShared(sqlite3_file* file) { realOf(file)->pMethods->xShmBarrier(realOf(file)); }
int unmapShared(sqlite3_file* file, int isDeleted) {
  return realOf(file)->pMethods->xShmUnmap(realOf(file), isDeleted);
}

const sqlite3_io_methods methods = {
    2,          closeFile,   readFile,      writeFile,   truncateFile, syncFile,        fileSize,
    lockFile,   unlockFile,  checkReserved, controlFile, sectorSize,   characteristics, mapShared,
    lockShared, orderShared, unmapShared,   nullptr,     nullptr};

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
  file->pMethods = nullptr;
  const int code = disk->xOpen(disk, name, realOf(file), flags, outFlags);
  if (realOf(file)->pMethods != nullptr) {
    file->pMethods = &methods;
  }
  return code;
}

int deleteFile(sqlite3_vfs*, const char* name, int syncsFolder) {
  dieIfLast();
  return disk->xDelete(disk, name, syncsFolder);
}

}  // namespace

void dieAtDiskOperation(int step, bool isTorn) {
  stepsLeft = step;
  tearsWrites = isTorn;
  disk = sqlite3_vfs_find(nullptr);
  static sqlite3_vfs dying = *disk;
  dying.zName = "dying";
  dying.szOsFile = static_cast<int>(sizeof(File)) + disk->szOsFile;
  dying.xOpen = openFile;
  dying.xDelete = deleteFile;
  sqlite3_vfs_register(&dying, 1);
}

}  // namespace quillo
