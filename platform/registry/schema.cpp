#include "platform/registry/schema.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/kernel/unique_fd.h"
#include "platform/registry/database.h"
#include "platform/registry/fault.h"

namespace portwise::platform {
namespace {

// keys.path is the whole path in folded case, roots being "0" to "3": opening a key is one look-up. keys.guarded is 1
// when the key or one above it may carry an access list; 0 spares the walk up. keys.written is in units of 100 ns since
// 1601. Ids are never given twice, so that a handle of a deleted key stays dead.
constexpr char kTables[] = R"sql(
  PRAGMA journal_mode = WAL;
  BEGIN;
  PRAGMA application_id = 0x70777267;
  PRAGMA user_version = 1;
  CREATE TABLE keys(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    path TEXT NOT NULL UNIQUE,
    parent INTEGER NOT NULL,
    name TEXT NOT NULL,
    written INTEGER NOT NULL,
    guarded INTEGER NOT NULL,
    protected INTEGER NOT NULL DEFAULT 0,
    list BLOB);
  CREATE INDEX subkeys ON keys(parent, path);
  CREATE TABLE entries(
    key INTEGER NOT NULL,
    folded TEXT NOT NULL,
    name TEXT NOT NULL,
    type INTEGER NOT NULL,
    data BLOB NOT NULL,
    PRIMARY KEY(key, folded)) WITHOUT ROWID;
  INSERT INTO keys(id, path, parent, name, written, guarded) VALUES
    (1, '0', 0, 'HKEY_CLASSES_ROOT', 0, 0),
    (2, '1', 0, 'HKEY_CURRENT_USER', 0, 0),
    (3, '2', 0, 'HKEY_LOCAL_MACHINE', 0, 0),
    (4, '3', 0, 'HKEY_USERS', 0, 0);
  COMMIT;
)sql";

/// Only a file that is certainly not there is missing: what cannot be looked at is left to the open to report.
bool IsMissing(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

[[noreturn]] void Refuse(const std::string& path, LSTATUS code, const std::string& reason) {
  RecordFault(path, code, reason);
  throw RegistryError{code};
}

void Build(const std::string& path, const std::string& fresh) {
  // What is left of a process that was killed while it built the file.
  for (const char* suffix : {"", "-journal", "-wal", "-shm"}) unlink((fresh + suffix).c_str());
  {
    // SQLite gives its log the mode of the file; the mask of the process must not narrow it.
    const UniqueFd file(open(fresh.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0660));
    if (file.Get() < 0 || fchmod(file.Get(), 0660) != 0) Refuse(path, ERROR_CANTOPEN, std::strerror(errno));
  }
  sqlite3* database = nullptr;
  int result = sqlite3_open_v2(fresh.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (result == SQLITE_OK) result = sqlite3_exec(database, kTables, nullptr, nullptr, nullptr);
  // Closing brings the log back into the file and removes it.
  if (const int closed = sqlite3_close(database); result == SQLITE_OK) result = closed;
  if (result != SQLITE_OK) Refuse(path, RegistryCode(result), sqlite3_errstr(result));
}

}  // namespace

void CreateDatabase(const std::string& path) {
  if (!IsMissing(path)) return;
  const std::string folder = path.substr(0, path.rfind('/'));
  // One process at a time builds; the lock ends with the process.
  const UniqueFd directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.Get() < 0 || flock(directory.Get(), LOCK_EX) != 0) Refuse(path, ERROR_CANTOPEN, std::strerror(errno));
  if (!IsMissing(path)) return;

  struct stat log {};
  if (stat((path + "-wal").c_str(), &log) == 0 && log.st_size > 0) {
    Refuse(path, ERROR_BADDB, "the file is missing, but its log registry.db-wal still holds data");
  }
  const std::string fresh = path + ".new";
  Build(path, fresh);
  if (std::rename(fresh.c_str(), path.c_str()) != 0) Refuse(path, ERROR_CANTOPEN, std::strerror(errno));
  fsync(directory.Get());
}

}  // namespace portwise::platform
