#include "platform/registry/fault.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdio>
#include <mutex>

#include "platform/registry/database.h"

namespace portwise::platform {
namespace {

struct CodeRow {
  int sqlite;
  LSTATUS registry;
};

constexpr CodeRow kCodes[] = {
    {SQLITE_CORRUPT, ERROR_BADDB},
    {SQLITE_NOTADB, ERROR_BADDB},
    // Every statement is a constant, so one that does not compile means that the tables are not ours.
    {SQLITE_ERROR, ERROR_BADDB},
    {SQLITE_BUSY, ERROR_BUSY},
    {SQLITE_LOCKED, ERROR_BUSY},
    {SQLITE_PROTOCOL, ERROR_BUSY},
    {SQLITE_CANTOPEN, ERROR_CANTOPEN},
    {SQLITE_PERM, ERROR_CANTOPEN},
    {SQLITE_AUTH, ERROR_CANTOPEN},
    {SQLITE_READONLY, ERROR_CANTWRITE},
    {SQLITE_FULL, ERROR_DISK_FULL},
    {SQLITE_NOMEM, ERROR_OUTOFMEMORY},
    {SQLITE_TOOBIG, ERROR_NOT_ENOUGH_MEMORY},
};

bool IsWriteError(int result) {
  switch (result) {
    case SQLITE_IOERR_WRITE:
    case SQLITE_IOERR_FSYNC:
    case SQLITE_IOERR_TRUNCATE:
    case SQLITE_IOERR_DIR_FSYNC:
      return true;
    default:
      return false;
  }
}

/// What tells that a file was changed or replaced.
struct FileState {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = -1;
  time_t seconds = 0;
  long nanoseconds = 0;
  bool operator==(const FileState&) const = default;
};

FileState StateOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return {};
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

struct Faults {
  std::mutex mutex;
  std::string path;
  std::string text;
  std::string told;
  std::string damagedPath;
  FileState damagedState;
};

Faults& TheFaults() {
  static auto* faults = new Faults;
  return *faults;
}

std::atomic<unsigned> faultCount = 0;
std::atomic<bool> damaged = false;

}  // namespace

LSTATUS RegistryCode(int sqliteResult) {
  if ((sqliteResult & 0xff) == SQLITE_IOERR) return IsWriteError(sqliteResult) ? ERROR_CANTWRITE : ERROR_CANTREAD;
  for (const CodeRow& row : kCodes) {
    if (row.sqlite == (sqliteResult & 0xff)) return row.registry;
  }
  return ERROR_INTERNAL_ERROR;
}

void RecordFault(const std::string& path, LSTATUS code, const std::string& reason) {
  Faults& faults = TheFaults();
  std::lock_guard lock(faults.mutex);
  faults.path = path;
  faults.text = "the registry " + path + " cannot be used: " + reason;
  if (code == ERROR_BADDB) {
    faults.text += " (nothing was changed; restore the file from a backup or move it away)";
    faults.damagedPath = path;
    faults.damagedState = StateOf(path);
    damaged = true;
    ++faultCount;
  }
  if (faults.told == faults.text) return;
  faults.told = faults.text;
  std::fprintf(stderr, "portwise: %s\n", faults.text.c_str());
}

void RefuseDamaged(const std::string& path) {
  if (!damaged) return;
  Faults& faults = TheFaults();
  std::lock_guard lock(faults.mutex);
  if (faults.damagedPath != path) return;
  if (StateOf(path) == faults.damagedState) throw RegistryError{ERROR_BADDB};
  faults.damagedPath.clear();
  faults.text.clear();
  damaged = false;
  ++faultCount;
}

unsigned FaultCount() { return faultCount; }

std::string FaultText(const std::string& path) {
  Faults& faults = TheFaults();
  std::lock_guard lock(faults.mutex);
  return faults.path == path ? faults.text : std::string();
}

void ClearFault() {
  Faults& faults = TheFaults();
  std::lock_guard lock(faults.mutex);
  faults.text.clear();
}

void LockFaults() { TheFaults().mutex.lock(); }
void UnlockFaults() { TheFaults().mutex.unlock(); }

}  // namespace portwise::platform
