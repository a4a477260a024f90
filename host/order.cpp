#include "host/order.h"

#include <winspool.h>

#include "platform/registry/registry_control.h"

namespace portwise {

std::string TextOf(const nlohmann::json& order, const char* field) {
  auto found = order.find(field);
  if (found == order.end()) return {};
  if (!found->is_string()) throw OrderError(ERROR_INVALID_PARAMETER, std::string(field) + " is not a text");
  return found->get<std::string>();
}

std::uint64_t NumberOf(const nlohmann::json& order, const char* field, std::uint64_t maximum) {
  auto found = order.find(field);
  if (found == order.end() || !found->is_number_unsigned() || found->get<std::uint64_t>() > maximum)
    throw OrderError(ERROR_INVALID_PARAMETER, std::string(field) + " is not a number that can be used");
  return found->get<std::uint64_t>();
}

Printer RequirePrinter(const nlohmann::json& order, const char* field) {
  std::string name = TextOf(order, field);
  auto printer = FindPrinter(name);
  if (!printer)
    throw OrderError(ERROR_INVALID_PRINTER_NAME,
                     "there is no printer " + name + "; 'portwise printer list' shows them");
  return *printer;
}

void RequireAdminister(const nlohmann::json& order) {
  if (order.contains("access") && !(NumberOf(order, "access", UINT32_MAX) & PRINTER_ACCESS_ADMINISTER))
    throw OrderError(ERROR_ACCESS_DENIED, "the printer was opened to be used, not to be changed");
}

platform::Message Carried() { return {{{"error", 0u}}, {}}; }

platform::Message ListReply(const nlohmann::json& list) {
  return {{{"error", 0u}}, list.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)};
}

void RequireNone(const std::string& fault) {
  if (!fault.empty()) throw OrderError(ERROR_INVALID_NAME, fault);
}

void RequireSaved(bool saved) {
  if (saved) return;
  std::string fault = platform::RegistryFault();
  throw OrderError(ERROR_CANTWRITE, fault.empty() ? "the registry does not take the change" : fault);
}

}  // namespace portwise
