#pragma once

#include <windows.h>

#include "core/ostring.h"

/// The text side of logical registry paths, such as "LOCAL:Network/TCP Port". Nothing here touches the registry; any
/// thread.
///
/// A path is a root with its colon, then components with "/" (or "\") between them. A literal "/", ":" or "%" inside a
/// component is written twice; "%" and two hexadecimal digits stand for the character of that code. A path in
/// numeric-root form has the number of a registry root before its first colon ("2:SOFTWARE/Vendor"), only "/" between
/// its components, and its percent escapes still in place.
namespace portwise {

/// A name as one component of a path: "%", "/" and ":" become their percent escapes. Every name read from the registry
/// or from a printer goes through it before it is joined into a path.
OString EscapeName(const OString& name);
/// Decodes the percent escapes. A "%" without two hexadecimal digits after it stays.
OString UnescapePath(const OString& text);

/// "HKEY_LOCAL_MACHINE\A\B", its root in any case, from and to "2:A/B". A path that begins with none of the four root
/// names, or root numbers, keeps its beginning.
OString NativeToInternal(const OString& nativePath);
OString InternalToNative(const OString& path);

/// Puts `to` in the place of the root `from` at the front of the path, ASCII case ignored. A `from` without a colon is
/// a placeholder: each exact occurrence is replaced.
OString ReplaceRoot(const OString& path, const OString& from, const OString& to);

/// One step of root translation.
struct RootRow {
  OString from;
  OString to;
};
/// Applies the rows in their order; a key without a colon is returned as it is.
template <class Rows>
OString ReplaceRoots(OString key, const Rows& rows) {
  if (key.Find(WCHAR(':')) < 0) return key;
  for (const RootRow& row : rows) key = ReplaceRoot(key, row.from, row.to);
  return key;
}

/// True when the text between the "*" and "?" of `pattern` is that of `name`: "?" is any one character, "*" any run.
/// Case counts.
bool MatchesWildcard(const OString& name, const OString& pattern);
bool HasWildcard(const OString& name);

/// The single-character forms of doubled "%", "/" and ":" as percent escapes, and "/" for each "\".
OString NormalizePath(const OString& path);
/// The absolute path of `path`, which is relative to `base` unless it has a root; both normalized. An empty path is the
/// base.
OString JoinPath(const OString& base, const OString& path);
/// Splits a normalized path at its last "/" or ":" into the key, which keeps a colon, and the name, which is decoded.
/// False when there is neither.
bool SplitPath(const OString& path, OString* key, OString* name);
/// The path of the subkey or value `name`, as the registry spells it, below a key.
OString ChildPath(const OString& key, const OString& name);

/// Drops the separators too many of a key with a root: the registry takes none in front and not two in a row.
OString CollapseSeparators(const OString& key);
/// Whether the number in front of the first colon is that of a registry root.
bool HasNumericRoot(const OString& key);
/// The registry root of a key in numeric-root form and the native path below it. False when the root is not 0 to 3 or
/// nothing follows it: a root itself cannot be opened. Separators too many are dropped.
bool ParseRoot(const OString& key, HKEY* root, OString* subKey);

}  // namespace portwise
