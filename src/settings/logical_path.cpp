#include "settings/logical_path.h"

#include "core/hex.h"

namespace portwise {
namespace {

struct Root {
  HKEY key;
  OString native;   // as a native path begins
  OString numeric;  // as a path in numeric-root form begins
};

const Root* Roots() {
  // Never destroyed: ports may be closed after the library's static objects are gone.
  static const Root* const roots = new Root[4]{
      {HKEY_CLASSES_ROOT, OString("HKEY_CLASSES_ROOT"), OString("0:")},
      {HKEY_CURRENT_USER, OString("HKEY_CURRENT_USER"), OString("1:")},
      {HKEY_LOCAL_MACHINE, OString("HKEY_LOCAL_MACHINE"), OString("2:")},
      {HKEY_USERS, OString("HKEY_USERS"), OString("3:")},
  };
  return roots;
}
constexpr int kRootCount = 4;

bool StartsWith(const OString& text, const OString& prefix) {
  return text.View().substr(0, static_cast<size_t>(prefix.Length())) == prefix.View();
}

/// The number before the first colon, or -1 when it is not that of a root.
int RootNumber(const OString& key) {
  const int colon = key.Find(WCHAR(':'));
  if (colon < 1) return -1;
  int number = 0;
  for (int i = 0; i < colon; ++i) {
    if (key[i] < '0' || key[i] > '9') return -1;
    number = number * 10 + (key[i] - '0');
    if (number >= kRootCount) return -1;
  }
  return number;
}

}  // namespace

OString EscapeName(const OString& name) {
  OString escaped = name;
  escaped.Replace("%", "%25");
  escaped.Replace("/", "%2F");
  escaped.Replace(":", "%3A");
  return escaped;
}

OString UnescapePath(const OString& text) {
  const WideView from = text.View();
  if (from.find(WCHAR('%')) == WideView::npos) return text;
  WideString to;
  to.reserve(from.size());
  for (size_t i = 0; i < from.size(); ++i) {
    const int high = from[i] == '%' && i + 2 < from.size() ? HexValue(from[i + 1]) : -1;
    const int low = high >= 0 ? HexValue(from[i + 2]) : -1;
    if (low >= 0) {
      to += static_cast<WCHAR>(high * 16 + low);
      i += 2;
    } else {
      to += from[i];
    }
  }
  return to;
}

OString NativeToInternal(const OString& nativePath) {
  OString path = EscapeName(nativePath);
  for (int i = 0; i < kRootCount; ++i) {
    const OString prefix = Roots()[i].native + "\\";
    if (!path.StartsWithNoCase(prefix)) continue;
    path = Roots()[i].numeric + path.Mid(prefix.Length());
    break;
  }
  path.Replace("\\", "/");
  return path;
}

OString InternalToNative(const OString& path) {
  OString native = path;
  for (int i = 0; i < kRootCount; ++i) {
    const OString& prefix = Roots()[i].numeric;
    if (!StartsWith(path, prefix)) continue;
    native = Roots()[i].native + "/" + path.Mid(prefix.Length());
    break;
  }
  native.Replace("/", "\\");
  return UnescapePath(native);
}

OString ReplaceRoot(const OString& path, const OString& from, const OString& to) {
  const int colon = from.Find(WCHAR(':'));
  if (colon < 0) {
    if (path.EqualsNoCase(from)) return to;
    OString replaced = path;
    replaced.Replace(from, to);
    return replaced;
  }
  if (colon + 1 < from.Length() || !path.StartsWithNoCase(from)) return path;
  if (path.Length() == from.Length()) return to;
  const WCHAR last = to[to.Length() - 1];
  OString replaced = to;
  if (last != '/' && last != ':') replaced += WCHAR('/');
  return replaced + path.Mid(colon + 1);
}

bool MatchesWildcard(const OString& name, const OString& pattern) {
  const WideView text = name.View();
  const WideView mask = pattern.View();
  size_t t = 0, m = 0;
  // The last "*" seen, and how far the text was when it began to take characters.
  size_t star = WideView::npos, taken = 0;
  while (t < text.size()) {
    if (m < mask.size() && mask[m] == '*') {
      star = m++;
      taken = t;
    } else if (m < mask.size() && (mask[m] == '?' || mask[m] == text[t])) {
      ++m;
      ++t;
    } else if (star != WideView::npos) {
      m = star + 1;
      t = ++taken;
    } else {
      return false;
    }
  }
  while (m < mask.size() && mask[m] == '*') ++m;
  return m == mask.size();
}

bool HasWildcard(const OString& name) { return name.Find(WCHAR('*')) >= 0 || name.Find(WCHAR('?')) >= 0; }

OString NormalizePath(const OString& path) {
  OString normalized = path;
  normalized.Replace("%%", "%25");
  normalized.Replace("//", "%2F");
  normalized.Replace("::", "%3A");
  normalized.Replace("\\", "/");
  return normalized;
}

OString JoinPath(const OString& base, const OString& path) {
  if (path.Find(WCHAR(':'), 1) >= 1) return path;
  OString joined = base;
  joined.TrimRight("/");
  if (path.IsEmpty()) return joined;
  const int length = joined.Length();
  if (length > 0 && joined[length - 1] != ':') joined += WCHAR('/');
  return joined + path;
}

bool SplitPath(const OString& path, OString* key, OString* name) {
  const int end = path.ReverseFindAny(":/");
  if (end < 0) return false;
  *name = UnescapePath(path.Mid(end + 1));
  *key = path.Left(path[end] == ':' ? end + 1 : end);
  return name->Find(WCHAR(0)) < 0;
}

OString ChildPath(const OString& key, const OString& name) {
  OString path = key;
  const int length = path.Length();
  if (length > 0 && path[length - 1] != ':' && path[length - 1] != '/') path += WCHAR('/');
  return path + EscapeName(name);
}

bool HasNumericRoot(const OString& key) { return RootNumber(key) >= 0; }

OString CollapseSeparators(const OString& key) {
  WideString collapsed;
  const auto root = static_cast<size_t>(key.Find(WCHAR(':')) + 1);
  for (const WCHAR unit : key.View()) {
    const bool superfluous = unit == '/' && (collapsed.size() == root || collapsed.ends_with(WCHAR('/')));
    if (!superfluous) collapsed += unit;
  }
  return OString(collapsed);
}

bool ParseRoot(const OString& key, HKEY* root, OString* subKey) {
  const int number = RootNumber(key);
  if (number < 0) return false;
  OString path = CollapseSeparators(key);
  path = path.Mid(path.Find(WCHAR(':')) + 1);
  path.Replace("/", "\\");
  *root = Roots()[number].key;
  *subKey = UnescapePath(path);
  subKey->TrimRight("\\");
  // The system would take what stands before a NUL for the whole path: another key.
  return !subKey->IsEmpty() && subKey->Find(WCHAR(0)) < 0;
}

}  // namespace portwise
