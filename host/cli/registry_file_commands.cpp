#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "host/cli/registry_file.h"
#include "host/cli/registry_path.h"
#include "platform/registry/registry_control.h"
#include "settings/registry.h"

namespace portwise {
namespace {

struct FileArguments {
  std::string path;
  std::string file = "-";
  bool checksum = false;
  bool deleteFirst = false;
  bool utf8 = false;
  bool replace = false;
};

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<FILE, CloseFile>;

[[noreturn]] void FailAtFile(const char* operation, const std::string& name) {
  throw CommandError(std::string("cannot ") + operation + " " + name + ": " + std::strerror(errno));
}

std::string ReadAll(const std::string& name) {
  const UniqueFile opened(name == "-" ? nullptr : std::fopen(name.c_str(), "re"));
  if (name != "-" && !opened) FailAtFile("open", name);
  FILE* const file = opened ? opened.get() : stdin;
  std::string content;
  char chunk[65536];
  while (const std::size_t got = std::fread(chunk, 1, sizeof chunk, file)) content.append(chunk, got);
  if (std::ferror(file)) FailAtFile("read", name);
  return content;
}

void WriteAll(const std::string& name, const std::string& content) {
  UniqueFile opened(name == "-" ? nullptr : std::fopen(name.c_str(), "we"));
  if (name != "-" && !opened) FailAtFile("open", name);
  bool written = std::fwrite(content.data(), 1, content.size(), opened ? opened.get() : stdout) == content.size();
  if (FILE* const file = opened.release()) written = std::fclose(file) == 0 && written;
  if (!written) FailAtFile("write", name);
}

/// What an export of a key, or an import of that, does not carry.
struct Losses {
  int longTexts = 0;
  int longLists = 0;
  int oddNumbers = 0;
  int lineEnds = 0;
  int longNames = 0;
};

bool HasLineEnd(const OString& text) { return text.Find(WCHAR('\r')) >= 0 || text.Find(WCHAR('\n')) >= 0; }

void CountInValue(const ORegistry& registry, const OString& key, const OString& name, Losses* losses) {
  const OString path = ValueOf(key, name);
  DWORD type = REG_NONE;
  DWORD size = 0;
  if (!registry.GetValueInfo(path, &type, &size)) return;
  const bool tooLong = size > ORegistry::kMaxTextBytes;
  if (type == REG_SZ && tooLong) ++losses->longTexts;
  if (type == REG_MULTI_SZ && tooLong) ++losses->longLists;
  if (type == REG_DWORD && size != sizeof(DWORD)) ++losses->oddNumbers;
  if (HasLineEnd(name) || (type == REG_SZ && HasLineEnd(registry.GetString(path)))) ++losses->lineEnds;
}

/// Counts at and below a key.
void CountLosses(const ORegistry& registry, const OString& key, Losses* losses) {
  DWORD subKeyCount = 0;
  DWORD valueCount = 0;
  OStringArray values;
  OStringArray subKeys;
  if (!registry.GetKeyInfo(key, &subKeyCount, &valueCount)) return;
  registry.EnumValues(key, &values);
  registry.EnumKeys(key, &subKeys);
  // Others may write to the key meanwhile.
  losses->longNames += std::max(static_cast<int>(valueCount) - values.Size(), 0);
  losses->longNames += std::max(static_cast<int>(subKeyCount) - subKeys.Size(), 0);
  for (const OString& name : values) CountInValue(registry, key, name, losses);
  for (const OString& name : subKeys) {
    if (HasLineEnd(name)) ++losses->lineEnds;
    CountLosses(registry, ChildPath(key, name), losses);
  }
}

/// One line for each kind of loss; empty when there is none.
std::string Describe(const Losses& losses) {
  const std::string bytes = " of more than " + std::to_string(ORegistry::kMaxTextBytes) + " bytes, ";
  const std::string units = " of more than " + std::to_string(ORegistry::kMaxNameUnits) + " characters, left out: ";
  const std::pair<int, std::string> rows[] = {
      {losses.longTexts, "texts" + bytes + "exported as empty: "},
      {losses.longLists, "lists of texts" + bytes + "left out: "},
      {losses.oddNumbers, "numbers of other than 4 bytes, exported as 0: "},
      {losses.lineEnds, "names and texts with a line end, cut off there by an import: "},
      {losses.longNames, "values and keys from a name on" + units},
  };
  std::string text;
  for (const auto& [count, told] : rows) {
    if (count > 0) text += (text.empty() ? "" : "\n") + told + std::to_string(count);
  }
  return text;
}

void Export(const FileArguments& arguments) {
  const OString path = ToRegistryPath(arguments.path);
  ORegistry registry;
  OStringArray lines;
  const DWORD flags =
      (arguments.deleteFirst ? ORegistry::kDeleteFirst : 0) | (arguments.checksum ? ORegistry::kStoreChecksum : 0);
  if (!registry.GetKeyInfo(path) || !registry.Export(path, &lines, flags))
    FailAtRegistry("there is no key " + arguments.path);
  WriteAll(arguments.file, ToRegistryFile(lines, arguments.utf8 ? FileEncoding::Utf8 : FileEncoding::Utf16));
  Losses losses;
  CountLosses(ORegistry(), path, &losses);
  const std::string told = Describe(losses);
  if (!told.empty()) throw CommandError(told);
}

void Import(const FileArguments& arguments) {
  ORegistry registry;
  int skipped = 0;
  registry.Import(FromRegistryFile(ReadAll(arguments.file)), arguments.replace ? ORegistry::kReplaceKeys : 0, &skipped);
  if (skipped > 0) FailAtRegistry("lines skipped, everything else was applied: " + std::to_string(skipped));
}

}  // namespace

void AddRegistryFileCommands(CLI::App& registry) {
  auto arguments = std::make_shared<FileArguments>();
  CLI::App* write = registry.add_subcommand("export", "Write a key with everything below it as registry text");
  write->add_option("PATH", arguments->path, R"(A logical path ("LOCAL:...") or a native one ("HKEY_...\..."))")
      ->required();
  write->add_option("--file", arguments->file, "Where to; standard output when left out");
  write->add_flag("--checksum", arguments->checksum, "Store the text's checksum in the key");
  write->add_flag("--delete-first", arguments->deleteFirst, "Let an import of the text delete the key first");
  write->add_flag("--utf8", arguments->utf8, "In UTF-8, not UTF-16");
  write->callback([arguments] { Export(*arguments); });

  CLI::App* read = registry.add_subcommand("import", "Apply registry text, in UTF-16 or UTF-8");
  read->add_option("FILE", arguments->file, "Where from; standard input when left out or -");
  read->add_flag("--replace", arguments->replace, "Empty each key of the text before its values are set");
  read->callback([arguments] { Import(*arguments); });
}

}  // namespace portwise
