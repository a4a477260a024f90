#include "platform/eventlog/event_texts.h"

#include <cstring>

#include "platform/eventlog/insertion.h"
#include "platform/home.h"
#include "platform/resources/message_table.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

/// A value of text; empty when there is none.
std::u16string ReadText(const std::u16string& path, LPCWSTR name, DWORD* type) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) return {};
  WCHAR text[2048] = {};
  DWORD size = sizeof text;
  const LSTATUS error = RegQueryValueExW(key, name, nullptr, type, reinterpret_cast<BYTE*>(text), &size);
  RegCloseKey(key);
  if (error != ERROR_SUCCESS || (*type != REG_SZ && *type != REG_EXPAND_SZ)) return {};
  const std::u16string_view units(text, size / sizeof(WCHAR));
  return std::u16string(units.substr(0, units.find(u'\0')));
}

/// The value of a variable; the folder of the system has one whether it is set or not. False when there is none.
bool FindVariable(std::u16string_view name, std::u16string* value) {
  char text[1024];
  const DWORD length = GetEnvironmentVariableA(ToUtf8(name).c_str(), text, sizeof text);
  if (length > 0 && length < sizeof text) {
    *value = ToUtf16({text, length});
    return true;
  }
  const std::u16string folded = FoldCase(name);
  if (folded != u"systemroot" && folded != u"windir") return false;
  *value = u"C:\\Windows";
  return true;
}

/// Replaces %NAME% by the variable's value; unknown names stay.
std::u16string ExpandVariables(std::u16string_view text) {
  std::u16string expanded;
  for (std::size_t open; (open = text.find(u'%')) != text.npos;) {
    const std::size_t close = text.find(u'%', open + 1);
    if (close == text.npos) break;
    expanded += text.substr(0, open);
    std::u16string value;
    const bool known = FindVariable(text.substr(open + 1, close - open - 1), &value);
    // The second sign of an unknown name may open another one.
    expanded += known ? value : text.substr(open, close - open);
    text.remove_prefix(known ? close + 1 : close);
  }
  return expanded += text;
}

std::u16string JoinLines(const std::vector<std::u16string>& strings) {
  std::u16string text;
  for (const std::u16string& string : strings) (text += text.empty() ? u"" : u"\r\n") += string;
  return text;
}

}  // namespace

const EventTexts::Files& EventTexts::FilesOf(const Event& event) {
  const auto [found, isNew] = files_.try_emplace(event.log + '\\' + event.source);
  Files& files = found->second;
  if (!isNew) return files;
  DWORD type = REG_NONE;
  const std::u16string key = u"SYSTEM\\CurrentControlSet\\Services\\Eventlog\\" + ToUtf16(found->first);
  const std::u16string list = ReadText(key, u"EventMessageFile", &type);
  for (std::u16string_view rest = list; !rest.empty();) {
    const std::u16string_view path = rest.substr(0, rest.find(u';'));
    rest.remove_prefix(std::min(path.size() + 1, rest.size()));
    const std::string file = LinuxPath(type == REG_EXPAND_SZ ? ExpandVariables(path) : std::u16string(path));
    if (auto open = file.empty() ? nullptr : ResourceFile::Open(file)) files.push_back(std::move(open));
  }
  return files;
}

std::u16string EventTexts::TextOf(const Event& event) {
  constexpr WORD kOnlyTable = 1;
  for (const auto& file : FilesOf(event)) {
    std::string_view table;
    std::u16string message;
    if (!file->Find(kMessageTableType, kOnlyTable, &table) || !FindMessage(table, event.id, &message)) continue;
    message.resize(message.find_last_not_of(u"\r\n") + 1);
    return InsertStrings(message, event.strings);
  }
  return JoinLines(event.strings);
}

}  // namespace portwise::platform
