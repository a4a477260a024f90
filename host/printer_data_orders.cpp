#include "host/printer_data_orders.h"

#include "host/drivers.h"
#include "host/names.h"
#include "host/printers.h"
#include "host/registry_key.h"

namespace portwise {

using platform::Message;
using Json = nlohmann::json;

namespace {

/// Texts that name a value, as deep as the registry nests.
constexpr std::size_t kMaximumPath = 4095;

/// The path of the key that an order names below the printer's own, whose values are not printer data.
std::string DataKeyPath(const Json& order) {
  std::string key = TextOf(order, "key");
  bool good = !key.empty() && key.size() <= kMaximumPath && key.front() != '\\' && key.back() != '\\';
  if (!good || key.find("\\\\") != key.npos)
    throw OrderError(ERROR_INVALID_PARAMETER, "\"" + key + "\" cannot name a key of printer data");
  return PrinterKeyPath(RequirePrinter(order, "printer").name) + "\\" + key;
}

std::string RequireValueName(const Json& order) {
  std::string value = TextOf(order, "value");
  if (value.empty()) throw OrderError(ERROR_INVALID_PARAMETER, "printer data has a name");
  return value;
}

OrderError NoSuchData(const Json& order) {
  return OrderError(ERROR_FILE_NOT_FOUND, "printer " + TextOf(order, "printer") + " has no data " +
                                              TextOf(order, "key") + "\\" + TextOf(order, "value"));
}

/// Adds the names of all values of the keys below `path`.
void ListBelow(const std::string& path, const std::string& key, Json* list) {
  RegistryKey open = RegistryKey::Open(key.empty() ? path : path + "\\" + key);
  for (const std::string& subkey : open.Subkeys()) ListBelow(path, key.empty() ? subkey : key + "\\" + subkey, list);
  if (key.empty()) return;
  for (const std::string& name : open.ValueNames()) list->push_back({{"key", key}, {"value", name}});
}

}  // namespace

Message GetPrinterData(const Message& request) {
  auto value = RegistryKey::Open(DataKeyPath(request.head)).GetValue(RequireValueName(request.head));
  if (!value) throw NoSuchData(request.head);
  return {{{"error", 0u}, {"type", value->type}}, value->data};
}

Message SetPrinterData(const Message& request) {
  RequireAdminister(request.head);
  const auto type = static_cast<DWORD>(NumberOf(request.head, "type", UINT32_MAX));
  const std::string path = DataKeyPath(request.head);
  const std::string name = RequireValueName(request.head);
  RequireSaved(RegistryKey::Create(path).SetValue(name, {type, request.body}));
  return {{{"error", 0u}}, {}};
}

Message DeletePrinterData(const Message& request) {
  RequireAdminister(request.head);
  const std::string path = DataKeyPath(request.head);
  if (!RegistryKey::Open(path, KEY_READ | KEY_WRITE).DeleteValue(RequireValueName(request.head)))
    throw NoSuchData(request.head);
  return {{{"error", 0u}}, {}};
}

Message ListPrinterData(const Message& request) {
  Json list = Json::array();
  ListBelow(PrinterKeyPath(RequirePrinter(request.head, "printer").name), {}, &list);
  return {{{"error", 0u}}, list.dump(-1, ' ', false, Json::error_handler_t::replace)};
}

Message GetDriverOf(const Message& request) {
  auto driver = FindDriver(RequirePrinter(request.head, "printer").driver);
  if (!driver)
    throw OrderError(ERROR_UNKNOWN_PRINTER_DRIVER,
                     "the driver of printer " + TextOf(request.head, "printer") + " is not registered");
  return {{{"error", 0u},
           {"name", driver->name},
           {"environment", kDriverEnvironment},
           {"file", driver->file},
           {"dataFile", driver->dataFile},
           {"configFile", driver->configFile},
           {"helpFile", driver->helpFile},
           {"dependentFiles", driver->dependentFiles},
           {"monitor", driver->monitor},
           {"datatype", driver->datatype},
           {"version", driver->version},
           {"driverDate", driver->driverDate},
           {"driverVersion", driver->driverVersion},
           {"manufacturer", driver->manufacturer},
           {"hardwareId", driver->hardwareId},
           {"oemUrl", driver->oemUrl},
           {"provider", driver->provider}},
          {}};
}

}  // namespace portwise
