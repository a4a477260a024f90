#include "settings/settings_exchange.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "core/hex.h"
#include "settings/registry_importer.h"
#include "settings/registry_text.h"

namespace portwise {
namespace {

constexpr int kLinesAtOnce = 1000;  // what is in memory as lines

const OString& DataRoot() {
  // Never destroyed: ports may be closed after the library's static objects are gone.
  static const OString& root = *new OString("DATA:");
  return root;
}

struct LessNoCase {
  bool operator()(const OString& left, const OString& right) const { return left.CompareNoCase(right) < 0; }
};
/// The keys of the settings with the checksum that a request has for them, when it names them.
using KnownKeys = std::map<OString, std::optional<DWORD>, LessNoCase>;

/// Takes the next item off the front of `request`.
std::string_view NextItem(std::string_view& request) {
  size_t from = 0;
  if (request.starts_with('[')) from = std::min(request.find(']'), request.size());
  const size_t end = std::min(request.find(';', from), request.size());
  const std::string_view item = request.substr(0, end);
  request.remove_prefix(std::min(end + 1, request.size()));
  return item;
}

/// Calls `each(key, checksum)` for the items of a request, until it returns false.
template <class Each>
void ForEachItem(std::string_view request, Each each) {
  while (!request.empty()) {
    const std::string_view item = NextItem(request);
    const size_t bracket = item.rfind(']');
    if (!item.starts_with('[') || bracket == item.npos) continue;
    const std::string_view rest = item.substr(bracket + 1);
    DWORD checksum = 0;
    if (rest.size() == 9 && rest.front() == ',') DecodeHexNumber(rest.substr(1), &checksum);
    if (!each(OString(item.substr(1, bracket - 1), kCodePageUtf8), checksum)) return;
  }
}

/// Lines on their way out.
class ReplyText {
 public:
  ReplyText(const PrinterRegistry& registry, size_t limit) : registry_(registry), limit_(limit) {}

  /// False once the text is too long.
  bool Add(OStringArray lines) {
    registry_.HeadersToLogical(DataRoot(), &lines);
    for (const OString& line : lines) {
      if (text_.size() > limit_) return false;
      AddLine(line);
    }
    return text_.size() <= limit_;
  }
  std::string Take() { return text_.size() <= limit_ ? std::move(text_) : std::string(); }

 private:
  /// The first line of a text stays a text; a name with a line end is nothing that could be read back.
  void AddLine(const OString& line) {
    const int end = line.Find(WCHAR('\n'));
    if (end < 0) {
      text_.append(line.InCodePage(kCodePageUtf8)).append("\r\n");
    } else if (line[0] == '"') {
      OString first = line.Left(end);
      text_.append(first.TrimRight("\r").InCodePage(kCodePageUtf8)).append("\"\r\n");
    }
  }

  const PrinterRegistry& registry_;
  const size_t limit_;
  std::string text_;
};

}  // namespace

std::string SettingsDifferences(PrinterRegistry& registry, std::string_view request, size_t limit) {
  OStringArray keys;
  registry.ListSettingsKeys(&keys);
  KnownKeys known;
  for (const OString& key : keys) known[key];
  ForEachItem(request, [&](const OString& key, DWORD checksum) {
    const auto found = known.find(key);
    if (found != known.end() && !found->second) found->second = checksum;
    return true;
  });
  ReplyText reply(registry, limit);
  for (const OString& key : keys) {
    const std::optional<DWORD>& checksum = known[key];
    if (checksum == registry.GetDword(ChildPath(key, kChecksumName))) continue;
    OStringArray lines;
    registry.Export(key, &lines, checksum ? ORegistry::kStoreChecksum : 0);
    if (!reply.Add(std::move(lines))) return {};
  }
  registry.SetBasePath(OString());  // an export changes it, and a key without a root is none
  // However a key is spelt, what was exported must not be deleted again.
  std::set<OString, LessNoCase> present;
  for (const OString& key : keys) present.insert(registry.NativePath(key));
  OStringArray lines;
  ForEachItem(request, [&](const OString& key, DWORD) {
    const OString path = known.contains(key) ? OString() : registry.NativePath(key);
    if (path.IsEmpty() || present.contains(path)) return true;
    lines.Append("[-" + path + "]");
    lines.Append(OString());
    return lines.Size() < kLinesAtOnce || reply.Add(std::exchange(lines, {}));
  });
  reply.Add(std::move(lines));
  return reply.Take();
}

void ApplySettings(PrinterRegistry& registry, std::string_view text) {
  RegistryImporter importer(registry, true);
  OStringArray lines;
  while (!text.empty()) {
    size_t size = 0;
    for (int i = 0; i < kLinesAtOnce && size < text.size(); ++i) {
      size = std::min(text.find('\n', size), text.size() - 1) + 1;
    }
    lines.FromNarrowBuffer(text.substr(0, size), ListLayout::Lines, kCodePageUtf8);
    registry.HeadersToNative(DataRoot(), &lines);
    for (const OString& line : lines) importer.Take(line.View());
    text.remove_prefix(size);
  }
  importer.Finish();
}

bool UnrestrictSettings(const PrinterRegistry& registry) {
  return registry.SetKeySecurity(DataRoot(), ORegistry::kRecursive | ORegistry::kEveryoneWrites);
}

}  // namespace portwise
