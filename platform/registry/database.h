#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

/// The registry's database: $PORTWISE_HOME/registry.db, in SQLite's write-ahead mode, shared by every process of the
/// machine. Readers never wait for a writer. What a call has written survives the death of the process at any moment;
/// a power cut may lose the last writes (synchronous=NORMAL) but never the file.
///
/// A process has two connections, one that reads and one that writes, each opened when first needed, used by one
/// thread at a time and opened anew when the home changes. A forked child never inherits them: they are closed before
/// the fork and come back by themselves.
namespace portwise::platform {

/// Ends a registry call with an error code. Thrown below the calls and caught by `Answer`.
struct RegistryError {
  LSTATUS code;
};

/// Runs the body of a registry call and returns its error code, or that of the RegistryError it ended with.
template <typename Body>
LSTATUS Answer(Body&& body) {
  try {
    return body();
  } catch (const RegistryError& error) {
    return error.code;
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
}

/// An open connection and its prepared statements.
class Connection {
 public:
  /// Throws RegistryError when the file is not a sound registry of this version.
  Connection(const std::string& path, std::int64_t homeNumber);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// The statement of `sql`, which must be a constant: it is prepared once and known by its address.
  sqlite3_stmt* Prepared(const char* sql);
  /// Records the fault behind an SQLite result other than success, and throws its RegistryError.
  [[noreturn]] void Fail(int result);

  void SetBusyTimeout(int milliseconds);

  /// False when SQLite has rolled back by itself, as it does when the disk is full.
  bool InTransaction() const;

  const std::string& Path() const { return path_; }
  /// Tells the homes of one process apart: keys of another home are not keys of this one.
  std::int64_t HomeNumber() const { return homeNumber_; }
  /// Counts the process's connections from 1.
  std::uint64_t Number() const { return number_; }
  /// Differs from what it was before when another connection, of any process, has written in between.
  std::int64_t DataVersion() { return ReadNumber("PRAGMA data_version"); }

 private:
  void Configure();
  std::int64_t ReadNumber(const char* sql);
  void Close();

  std::string path_;
  std::int64_t homeNumber_;
  std::uint64_t number_;
  sqlite3* database_ = nullptr;
  std::unordered_map<const char*, sqlite3_stmt*> statements_;
};

/// One run of a prepared statement. Parameters and columns count from 0; the views that columns return live until the
/// next Step.
class Query {
 public:
  Query(Connection& connection, const char* sql) : connection_(connection), statement_(connection.Prepared(sql)) {}
  ~Query();
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  /// The text is not copied: it must live as long as the query.
  Query& Bind(int parameter, std::string_view text);
  Query& Bind(int parameter, std::int64_t number);
  /// Bytes, not copied either; a null pointer is an empty blob.
  Query& BindBlob(int parameter, const void* data, std::size_t size);
  /// True when there is a row. Throws RegistryError.
  bool Step();

  std::int64_t Number(int column) const;
  std::string_view Text(int column) const;
  std::string_view Blob(int column) const;
  bool IsNull(int column) const;

 private:
  Connection& connection_;
  sqlite3_stmt* statement_;
};

enum class Use { Read, Write };

/// The use of one of the process's connections by one thread, from construction to destruction. Sessions do not nest.
///
/// A session that writes is one transaction; unless it is committed, it leaves no trace.
class Session {
 public:
  /// Throws RegistryError when there is no sound database, or when another process does not let go of it in time.
  explicit Session(Use use);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void Commit();
  operator Connection&() const { return *connection_; }
  Connection* operator->() const { return connection_; }

 private:
  std::unique_lock<std::mutex> lock_;
  Connection* connection_;
  bool inTransaction_ = false;
};

}  // namespace portwise::platform
