#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

#include "host/printers.h"
#include "platform/spooler/message.h"

namespace portwise {

/// An order that cannot be carried out: the error code, and the reason as the text.
class OrderError : public std::runtime_error {
 public:
  OrderError(DWORD error, const std::string& reason) : std::runtime_error(reason), error_(error) {}
  DWORD Code() const { return error_; }

 private:
  DWORD error_;
};

/// The text `field` of an order; empty when it is missing. OrderError when it is something else.
std::string TextOf(const nlohmann::json& order, const char* field);
/// A whole number from 0 to `maximum`. OrderError when it is missing or something else.
std::uint64_t NumberOf(const nlohmann::json& order, const char* field, std::uint64_t maximum);

/// The printer that the text `field` of an order names. OrderError when there is none.
Printer RequirePrinter(const nlohmann::json& order, const char* field);
/// Throws OrderError with ERROR_ACCESS_DENIED when the order says with which access its client opened the printer, and
/// that is not enough to change it.
void RequireAdminister(const nlohmann::json& order);
/// The answer to an order that was carried out, and the one that is a list.
platform::Message Carried();
platform::Message ListReply(const nlohmann::json& list);

/// Throws OrderError with ERROR_INVALID_NAME unless `fault` is empty.
void RequireNone(const std::string& fault);
/// OrderError when the registry did not take a change.
void RequireSaved(bool saved);

}  // namespace portwise
