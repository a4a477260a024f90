#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

#include "core/hex.h"
#include "host/cli/client.h"
#include "host/cli/commands.h"
#include "host/cli/parse.h"
#include "host/cli/registry_path.h"
#include "platform/text.h"
#include "settings/logical_path.h"
#include "settings/registry.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

struct RegistryArguments {
  std::string path;
  std::vector<std::string> values;
  std::string type = "string";
  bool recursive = false;
  bool json = false;
};

std::map<DWORD, std::string> const kTypeNames = {{REG_SZ, "string"},
                                                 {REG_EXPAND_SZ, "expand"},
                                                 {REG_BINARY, "binary"},
                                                 {REG_DWORD, "dword"},
                                                 {REG_MULTI_SZ, "multi"}};

std::string ToText(const OString& text) { return platform::ToUtf8(text.View()); }

/// The strings of a value of text: one for REG_SZ, any number for REG_MULTI_SZ.
std::vector<std::string> ToStrings(const std::vector<BYTE>& data, DWORD type) {
  std::u16string units(data.size() / sizeof(WCHAR), u'\0');
  std::memcpy(units.data(), data.data(), units.size() * sizeof(WCHAR));
  std::vector<std::string> strings;
  for (std::size_t start = 0; start < units.size();) {
    std::size_t end = std::min(units.find(u'\0', start), units.size());
    if (type == REG_MULTI_SZ && end == start) break;
    strings.push_back(platform::ToUtf8(units.substr(start, end - start)));
    if (type != REG_MULTI_SZ) break;
    start = end + 1;
  }
  if (strings.empty() && type != REG_MULTI_SZ) strings.emplace_back();
  return strings;
}

/// A value as JSON: number, text, list of texts, or hexadecimal text.
Json ReadValue(const OString& path, DWORD* type) {
  ORegistry registry;
  DWORD size = 0;
  if (!registry.GetValueInfo(path, type, &size)) FailAtRegistry("there is no value " + ToText(path));
  std::vector<BYTE> data(size);
  if (size > 0 && registry.GetValueRaw(path, data.data(), size, *type) != static_cast<int>(size))
    FailAtRegistry("the value " + ToText(path) + " cannot be read");
  if (*type == REG_DWORD && size == sizeof(DWORD)) {
    DWORD number;
    std::memcpy(&number, data.data(), sizeof(number));
    return number;
  }
  if (*type == REG_SZ || *type == REG_EXPAND_SZ) return ToStrings(data, *type).front();
  if (*type == REG_MULTI_SZ) return ToStrings(data, *type);
  return EncodeHex(std::string_view(reinterpret_cast<const char*>(data.data()), data.size()), HexLetters::Lower);
}

std::string ToLine(const Json& value) { return value.is_string() ? value.get<std::string>() : value.dump(); }

void Get(const RegistryArguments& arguments) {
  DWORD type = REG_NONE;
  Json value = ReadValue(ToRegistryPath(arguments.path), &type);
  if (!value.is_array()) value = Json::array({value});
  for (const Json& line : value) std::puts(ToLine(line).c_str());
}

bool ParseBool(const std::string& text) {
  if (text == "1" || text == "true") return true;
  if (text == "0" || text == "false") return false;
  throw CommandError("a bool is true, false, 1 or 0");
}

void Set(const RegistryArguments& arguments) {
  OString path = ToRegistryPath(arguments.path);
  const std::string& value = arguments.values.front();
  const std::string& type = arguments.type;
  if (type != "multi" && arguments.values.size() > 1) throw CommandError("only a multi value takes several values");
  ORegistry registry;
  bool saved = false;
  if (type == "string") saved = registry.SetString(path, OString(value, CP_UTF8));
  if (type == "dword") saved = registry.SetDword(path, ParseNumber<DWORD>(value));
  if (type == "int") saved = registry.SetInt(path, ParseNumber<LONG>(value));
  if (type == "bool") saved = registry.SetBool(path, ParseBool(value));
  if (type == "binary") {
    const std::string data = FromHex(value);
    saved = registry.SetBinary(path, data.data(), static_cast<DWORD>(data.size())) == static_cast<int>(data.size());
  }
  if (type == "multi") {
    OStringArray strings;
    for (const std::string& text : arguments.values) strings.Append(OString(text, CP_UTF8));
    saved = registry.SetMultiString(path, strings);
  }
  if (!saved) FailAtRegistry("the value " + arguments.path + " cannot be written; is the path right?");
}

void Delete(const RegistryArguments& arguments) {
  ORegistry registry;
  OString path = ToRegistryPath(arguments.path);
  if (registry.Delete(path, arguments.recursive)) return;
  DWORD subkeys = 0;
  if (registry.GetKeyInfo(path, &subkeys, nullptr) && subkeys > 0 && !arguments.recursive)
    throw CommandError(arguments.path + " has keys below it; --recursive deletes them too");
  FailAtRegistry("there is no " + arguments.path + " that can be deleted");
}

void List(const RegistryArguments& arguments) {
  ORegistry registry;
  OString path = ToRegistryPath(arguments.path);
  OStringArray keys;
  OStringArray values;
  if (registry.EnumKeys(path, &keys) < 0 || registry.EnumValues(path, &values) < 0)
    FailAtRegistry("there is no key " + arguments.path);
  Json result{{"keys", Json::array()}, {"values", Json::object()}};
  for (const OString& key : keys) {
    if (!arguments.json) std::printf("%s/\n", ToText(key).c_str());
    result["keys"].push_back(ToText(key));
  }
  for (const OString& name : values) {
    DWORD type = REG_NONE;
    Json value = ReadValue(ValueOf(path, name), &type);
    auto known = kTypeNames.find(type);
    std::string typeName = known == kTypeNames.end() ? std::to_string(type) : known->second;
    if (!arguments.json) std::printf("%s = %s: %s\n", ToText(name).c_str(), typeName.c_str(), ToLine(value).c_str());
    result["values"][ToText(name)] = {{"type", typeName}, {"value", value}};
  }
  if (arguments.json) PrintJson(result);
}

}  // namespace

void AddRegistryCommands(CLI::App& app) {
  CLI::App* registry = app.add_subcommand("registry", "Settings; works whether the spooler runs or not");
  registry->require_subcommand(1);
  auto arguments = std::make_shared<RegistryArguments>();
  struct {
    const char* name;
    const char* help;
    void (*run)(const RegistryArguments&);
  } constexpr kCommands[] = {
      {"get", "Print a value: numbers in decimal, binary in hexadecimal, a list one text a line", Get},
      {"set", "Write a value; a multi value takes any number of texts", Set},
      {"delete", "Delete a value or a key", Delete},
      {"list", "List the keys and values of a key", List},
  };
  for (const auto& row : kCommands) {
    CLI::App* command = registry->add_subcommand(row.name, row.help);
    command->add_option("PATH", arguments->path, R"(A logical path ("LOCAL:...") or a native one ("HKEY_...\..."))")
        ->required();
    command->callback([arguments, run = row.run] { run(*arguments); });
  }
  CLI::App* set = registry->get_subcommand("set");
  set->add_option("VALUE", arguments->values, "The value")->required();
  set->add_option("--type", arguments->type, "string, dword, binary, multi, bool or int")
      ->check(CLI::IsMember({"string", "dword", "binary", "multi", "bool", "int"}));
  registry->get_subcommand("delete")->add_flag("--recursive", arguments->recursive, "With everything below the key");
  registry->get_subcommand("list")->add_flag("--json", arguments->json, "As JSON");
  AddRegistryFileCommands(*registry);
}

}  // namespace portwise
