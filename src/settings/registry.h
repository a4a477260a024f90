#pragma once

#include <windows.h>

#include "core/handles.h"
#include "core/ostring.h"
#include "core/ostring_array.h"
#include "settings/logical_path.h"

namespace portwise {

/// The registry by logical paths (settings/logical_path.h): typed values, enumeration, deletion and access rights.
///
/// A small value; each user makes its own, and one thread at a time uses it. Every operation opens the key it needs
/// and closes it before it returns. No operation reports, nor throws but for lack of memory: a path that does not
/// resolve, a key that does not open and a value of the wrong length all give the operation's failure value, -1, false,
/// an empty string or the caller's default. A path without a root is relative to the base path, except where the
/// comment says otherwise.
class ORegistry {
 public:
  ORegistry() = default;
  explicit ORegistry(const OString& basePath) : basePath_(basePath) {}
  ORegistry(const ORegistry&) = default;
  ORegistry& operator=(const ORegistry&) = default;
  virtual ~ORegistry() = default;

  /// Rewrites the logical root of a key into numeric-root form. A derived class with roots of its own replaces them
  /// first and ends with the base's.
  virtual OString TranslateRoots(const OString& key) const;
  /// Opens a key in numeric-root form to read and write, else to read only; with `create`, makes it and its missing
  /// parents when it does not open. None on failure.
  virtual unique_registry_key OpenKey(const OString& key, bool create) const;

  const OString& BasePath() const { return basePath_; }
  void SetBasePath(const OString& path) { basePath_ = path; }
  /// Access rights added to those of every open and create; none at first.
  void SetExtraAccess(REGSAM access) { extraAccess_ = access; }

  /// `key` is a base path in and the key in numeric-root form out; `name` is a path in and the native name of the last
  /// component out. With an empty `name` the whole of `key` is the key. False, with both in an unspecified state, when
  /// the root is unknown or there is neither a "/" nor a ":".
  bool Resolve(OString* key, OString* name) const;
  /// The key's full native name ("HKEY_LOCAL_MACHINE\..."); empty when the path does not resolve.
  OString NativePath(const OString& path) const;

  /// The length of the value in bytes, which are then in `buffer`; -1 also when it is longer than `size`. The type that
  /// is stored does not matter, here and in every getter below.
  int GetValueRaw(const OString& path, void* buffer, DWORD size, DWORD type) const;
  /// `size`, or -1. Makes the key when it is missing, as every setter below.
  int SetValueRaw(const OString& path, const void* data, DWORD size, DWORD type) const;
  /// What the getters of text take, in bytes.
  static constexpr DWORD kMaxTextBytes = 8192;
  /// Text up to its first NUL; an empty value, and one that is too long, gives the default.
  OString GetString(const OString& path, const OString& defaultValue = {}) const;
  bool SetString(const OString& path, const OString& value) const;
  DWORD GetDword(const OString& path, DWORD defaultValue = 0) const;
  bool SetDword(const OString& path, DWORD value) const;
  /// Four bytes, stored as REG_BINARY.
  LONG GetInt(const OString& path, LONG defaultValue = 0) const;
  bool SetInt(const OString& path, LONG value) const;
  /// One byte, stored as REG_BINARY.
  bool GetBool(const OString& path, bool defaultValue = false) const;
  bool SetBool(const OString& path, bool value) const;
  int GetBinary(const OString& path, void* buffer, DWORD size) const;
  int SetBinary(const OString& path, const void* data, DWORD size) const;
  /// False, with the array as it was, when there is nothing or too much.
  bool GetMultiString(const OString& path, OStringArray* strings) const;
  /// Empty strings are left out.
  bool SetMultiString(const OString& path, const OStringArray& strings) const;

  /// True when the path names a key; null pointers ask for nothing.
  bool GetKeyInfo(const OString& path, DWORD* subKeys = nullptr, DWORD* values = nullptr) const;
  /// True when the path names a value.
  bool GetValueInfo(const OString& path, DWORD* type = nullptr, DWORD* size = nullptr) const;

  /// The longest name that the enumerations give, in UTF-16 units.
  static constexpr int kMaxNameUnits = 260;
  /// The names of a key's subkeys or values, ascending by UTF-16 units, and their number; -1, with the array as it was,
  /// when the key does not open. The path is absolute. A name that is too long ends the list.
  int EnumKeys(const OString& path, OStringArray* names) const;
  int EnumValues(const OString& path, OStringArray* names) const;
  /// With "*" or "?" in the last component, the subkeys or values of the key before it that match; otherwise as above.
  int EnumKeysMatching(const OString& path, OStringArray* names) const;
  int EnumValuesMatching(const OString& path, OStringArray* names) const;

  /// Deletes the key that the path names, or the value when there is no such key; a path that ends in "/" or ":" names
  /// the default value alone. A key that has subkeys is deleted only when `recursive` is set, and one directly below a
  /// registry root never.
  bool Delete(const OString& path, bool recursive = false) const;
  /// Deletes every subkey, with what is below it unless `recursive` is off, and every value that matches the last
  /// component, as far as it can; without "*" or "?" as Delete. True once the path resolves.
  bool DeleteMatching(const OString& path, bool recursive = true) const;
  /// Keys in numeric-root form. An empty subkey, which to the registry is the key itself, is refused.
  virtual bool DeleteKey(const OString& parent, const OString& subKey) const;
  bool DeleteValue(const OString& key, const OString& name) const;

  /// The rules that SetKeySecurity puts in the place of a key's own: nothing but what it inherits; everyone reads;
  /// everyone does everything. In the last two administrators and the system do everything, and nothing is inherited.
  enum SecurityRules : DWORD { kInheritOnly = 0, kEveryoneReads = 1, kEveryoneWrites = 2 };
  /// Makes the key when it is missing.
  static constexpr DWORD kCreateMissing = 0x1000;
  /// Gives the rules kInheritOnly to every key below first.
  static constexpr DWORD kRecursive = 0x2000;
  /// `flags` are rules and the two flags above.
  bool SetKeySecurity(const OString& path, DWORD flags) const;

  /// Begins with a header that deletes the key.
  static constexpr DWORD kDeleteFirst = 1;
  /// Stores the checksum of the lines in the key, as the REG_DWORD value "(CRC32)".
  static constexpr DWORD kStoreChecksum = 2;
  /// Appends a key's values, but for checksums, and all its subkeys in the registry text format
  /// (settings/registry_text.h). Text that GetString does not give is exported as empty, a number of another length
  /// than four bytes as 0; other values and keys that cannot be read, or have no place in an enumeration, are left out.
  /// False only when the path does not resolve. The base path is then the key that was exported last.
  bool Export(const OString& path, OStringArray* lines, DWORD flags = 0);

  /// Each key header first empties its key, of values and subkeys.
  static constexpr DWORD kReplaceKeys = 1;
  /// Applies registry text. What cannot be read or written is skipped and the rest applied; `skipped` is then the
  /// number of lines that had no effect, blank lines and comments (";") not counted. A text without a closing
  /// quote is taken as far as it goes; a value whose name the enumerations would not give is skipped. Values of another
  /// type than text, number or list of texts become binary. Always true. The base path is then the key of the last
  /// header whose key opened.
  bool Import(const OStringArray& lines, DWORD flags = 0, int* skipped = nullptr);

 private:
  /// The key in numeric-root form that the whole of `path` names; false when it does not resolve.
  bool ResolveKey(const OString& path, OString* key) const;
  unique_registry_key OpenKeyOf(const OString& path, bool create, OString* name) const;
  bool Translate(OString* key) const;
  bool GetExactly(const OString& path, void* value, DWORD size, DWORD type) const;
  template <class Next>
  int Enumerate(const OString& path, OStringArray* names, Next next) const;
  int KeepMatching(const OString& path, OStringArray* names,
                   int (ORegistry::*enumerate)(const OString&, OStringArray*) const) const;

  OString basePath_;
  REGSAM extraAccess_ = 0;
};

}  // namespace portwise
