#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

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

/// The texts at and below a key that are longer than the registry's readers take.
int CountLongTexts(const ORegistry& registry, const OString& key) {
  OStringArray names;
  int count = 0;
  registry.EnumValues(key, &names);
  for (const OString& name : names) {
    DWORD type = REG_NONE;
    DWORD size = 0;
    const bool known = registry.GetValueInfo(ChildPath(key, name), &type, &size);
    if (known && (type == REG_SZ || type == REG_MULTI_SZ) && size > ORegistry::kMaxTextBytes) ++count;
  }
  names.Clear();
  registry.EnumKeys(key, &names);
  for (const OString& name : names) count += CountLongTexts(registry, ChildPath(key, name));
  return count;
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
  const int tooLong = CountLongTexts(ORegistry(), path);
  if (tooLong > 0) {
    throw CommandError("texts of more than " + std::to_string(ORegistry::kMaxTextBytes) +
                       " bytes, exported as empty: " + std::to_string(tooLong));
  }
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
