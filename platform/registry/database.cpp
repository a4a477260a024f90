#include "platform/registry/database.h"

#include <pthread.h>
#include <sqlite3.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include "platform/home.h"
#include "platform/registry/fault.h"
#include "platform/registry/key_handles.h"
#include "platform/registry/registry_control.h"
#include "platform/registry/schema.h"

namespace portwise::platform {
namespace {

std::atomic<int> busyTimeout = 5000;
std::atomic<bool> writeFailed = false;
std::atomic<std::uint64_t> connectionCount = 0;

/// What Home() depends on, except for the current folder: finding the home anew costs as much as a look-up.
std::string HomeKey() {
  std::string key = std::to_string(geteuid());
  for (const char* variable : {"PORTWISE_HOME", "XDG_STATE_HOME", "HOME"}) {
    const char* value = std::getenv(variable);
    (key += '\n') += value == nullptr ? "" : value;
  }
  return key;
}

/// One of the process's connections. `mutex` guards the rest.
struct Slot {
  std::mutex mutex;
  std::unique_ptr<Connection> connection;
  std::string homeKey;
  unsigned faultCount = 0;
};

/// The process's connections. Never destroyed, since threads may use the registry until the very end.
class Connections {
 public:
  static Connections& Get() {
    static auto* connections = new Connections;
    return *connections;
  }

  Slot& For(Use use) { return use == Use::Read ? reader_ : writer_; }

  /// The slot's connection to the database of the current home, opened when it is not. The slot's mutex is held.
  Connection* Open(Slot& slot) {
    std::string homeKey = HomeKey();
    if (slot.connection && slot.homeKey == homeKey && slot.faultCount == FaultCount()) {
      slot.connection->SetBusyTimeout(busyTimeout);
      return slot.connection.get();
    }
    const std::string path = Home() + "/registry.db";
    RefuseDamaged(path);
    slot.connection.reset();
    CreateDatabase(path);
    slot.homeKey = std::move(homeKey);
    slot.faultCount = FaultCount();
    slot.connection = std::make_unique<Connection>(path, HomeNumber(path));
    return slot.connection.get();
  }

  /// At the process's end: the last process to close brings the log back into the file. A connection that another
  /// thread still uses stays open, which costs the next process a recovery and nothing else.
  void CloseIdle() {
    for (Slot* slot : {&writer_, &reader_}) {
      std::unique_lock lock(slot->mutex, std::try_to_lock);
      if (lock) slot->connection.reset();
    }
  }

 private:
  // SQLite keeps what it knows of file locks per process, which is false in a forked child: no connection may be open
  // while a process forks. One handler takes every lock of the registry, in the order that calls take them.
  Connections() { pthread_atfork(BeforeFork, AfterFork, AfterFork); }

  static void BeforeFork() {
    Connections& self = Get();
    self.writer_.mutex.lock();
    self.reader_.mutex.lock();
    self.writer_.connection.reset();
    self.reader_.connection.reset();
    self.homesMutex_.lock();
    LockFaults();
    LockKeyHandles();
  }

  static void AfterFork() {
    Connections& self = Get();
    UnlockKeyHandles();
    UnlockFaults();
    self.homesMutex_.unlock();
    self.reader_.mutex.unlock();
    self.writer_.mutex.unlock();
  }

  std::int64_t HomeNumber(const std::string& path) {
    std::lock_guard lock(homesMutex_);
    return homes_.try_emplace(path, static_cast<std::int64_t>(homes_.size()) + 1).first->second;
  }

  Slot reader_;
  Slot writer_;
  std::mutex homesMutex_;
  std::unordered_map<std::string, std::int64_t> homes_;
};

struct CloseAtExit {
  ~CloseAtExit() { Connections::Get().CloseIdle(); }
} closeAtExit;

}  // namespace

Connection::Connection(const std::string& path, std::int64_t homeNumber)
    : path_(path), homeNumber_(homeNumber), number_(++connectionCount) {
  const int result = sqlite3_open_v2(path.c_str(), &database_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  try {
    if (result != SQLITE_OK) Fail(result);
    Configure();
  } catch (const RegistryError&) {
    Close();
    throw;
  }
}

Connection::~Connection() { Close(); }

void Connection::Close() {
  for (const auto& [sql, statement] : statements_) sqlite3_finalize(statement);
  statements_.clear();
  sqlite3_close(database_);
  database_ = nullptr;
}

void Connection::Configure() {
  sqlite3_extended_result_codes(database_, 1);
  SetBusyTimeout(busyTimeout);
  const std::int64_t application = ReadNumber("PRAGMA application_id");
  const std::int64_t version = ReadNumber("PRAGMA user_version");
  if (application != kApplicationId || version != kSchemaVersion) {
    RecordFault(path_, ERROR_BADDB,
                application != kApplicationId ? "the file is not a registry"
                                              : "the file has version " + std::to_string(version) +
                                                    ", this program knows version " + std::to_string(kSchemaVersion));
    throw RegistryError{ERROR_BADDB};
  }
  for (const char* sql : {"PRAGMA synchronous=NORMAL", "PRAGMA cell_size_check=ON"}) {
    if (const int result = sqlite3_exec(database_, sql, nullptr, nullptr, nullptr); result != SQLITE_OK) Fail(result);
  }
}

void Connection::SetBusyTimeout(int milliseconds) { sqlite3_busy_timeout(database_, milliseconds); }

std::int64_t Connection::ReadNumber(const char* sql) {
  Query query(*this, sql);
  return query.Step() ? query.Number(0) : 0;
}

sqlite3_stmt* Connection::Prepared(const char* sql) {
  sqlite3_stmt*& statement = statements_[sql];
  if (statement == nullptr) {
    const int result = sqlite3_prepare_v3(database_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    if (result != SQLITE_OK) Fail(result);
  }
  return statement;
}

void Connection::Fail(int result) {
  const LSTATUS code = RegistryCode(result);
  std::string reason = database_ != nullptr ? sqlite3_errmsg(database_) : sqlite3_errstr(result);
  // What the log holds must not be brought into a damaged file when the connection closes.
  if (code == ERROR_BADDB) sqlite3_db_config(database_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  if (code == ERROR_BUSY) reason = "another process holds it locked (" + reason + ")";
  if (code == ERROR_CANTWRITE || code == ERROR_DISK_FULL) writeFailed = true;
  RecordFault(path_, code, reason);
  throw RegistryError{code};
}

Query::~Query() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

Query& Query::Bind(int parameter, std::string_view text) {
  const int result =
      sqlite3_bind_text64(statement_, parameter + 1, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  if (result != SQLITE_OK) connection_.Fail(result);
  return *this;
}

Query& Query::Bind(int parameter, std::int64_t number) {
  const int result = sqlite3_bind_int64(statement_, parameter + 1, number);
  if (result != SQLITE_OK) connection_.Fail(result);
  return *this;
}

Query& Query::BindBlob(int parameter, const void* data, std::size_t size) {
  const int result = data == nullptr ? sqlite3_bind_zeroblob(statement_, parameter + 1, 0)
                                     : sqlite3_bind_blob64(statement_, parameter + 1, data, size, SQLITE_STATIC);
  if (result != SQLITE_OK) connection_.Fail(result);
  return *this;
}

bool Query::Step() {
  const int result = sqlite3_step(statement_);
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) connection_.Fail(result);
  return false;
}

std::int64_t Query::Number(int column) const { return sqlite3_column_int64(statement_, column); }

std::string_view Query::Text(int column) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::string_view Query::Blob(int column) const {
  const auto* data = static_cast<const char*>(sqlite3_column_blob(statement_, column));
  return {data, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

bool Query::IsNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }

Session::Session(Use use) {
  Slot& slot = Connections::Get().For(use);
  lock_ = std::unique_lock(slot.mutex);
  connection_ = Connections::Get().Open(slot);
  if (use == Use::Write) {
    Query(*connection_, "BEGIN IMMEDIATE").Step();
    inTransaction_ = true;
  }
}

bool Connection::InTransaction() const { return sqlite3_get_autocommit(database_) == 0; }

Session::~Session() {
  if (!inTransaction_ || !connection_->InTransaction()) return;
  try {
    Query(*connection_, "ROLLBACK").Step();
  } catch (const RegistryError&) {
    // Told already; the next session begins anew.
  }
}

void Session::Commit() {
  Query(*connection_, "COMMIT").Step();
  inTransaction_ = false;
  if (writeFailed.exchange(false)) ClearFault();
}

void SetRegistryBusyTimeout(int milliseconds) { busyTimeout = milliseconds; }

std::string RegistryFault() {
  const std::string path = Home() + "/registry.db";
  const LSTATUS result = Answer([]() -> LSTATUS {
    Session session(Use::Read);
    Query(session, "SELECT id FROM keys WHERE id = 1").Step();
    return ERROR_SUCCESS;
  });
  if (result == ERROR_SUCCESS && !writeFailed) return {};
  const std::string text = FaultText(path);
  return text.empty() && result != ERROR_SUCCESS ? "the registry " + path + " cannot be used" : text;
}

std::optional<RegistryVersion> CurrentRegistryVersion() {
  std::optional<RegistryVersion> version;
  Answer([&]() -> LSTATUS {
    Session session(Use::Read);
    version = RegistryVersion{session->Number(), session->DataVersion()};
    return ERROR_SUCCESS;
  });
  return version;
}

}  // namespace portwise::platform
