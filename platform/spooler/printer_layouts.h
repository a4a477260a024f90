#pragma once

#include <windows.h>
#include <winspool.h>

#include <string>

#include "platform/spooler/json.h"
#include "platform/spooler/packer.h"

/// A printer, as the spooler describes it, in the structures of the information levels.
namespace portwise::platform {

void PackPrinter(const nlohmann::json& printer, const std::string& devMode, Packer<PRINTER_INFO_1W>* packer);
/// A device mode that is shorter than it says is left out.
void PackPrinter(const nlohmann::json& printer, const std::string& devMode, Packer<PRINTER_INFO_2W>* packer);
void PackPrinter(const nlohmann::json& printer, const std::string& devMode, Packer<PRINTER_INFO_4W>* packer);
void PackPrinter(const nlohmann::json& printer, const std::string& devMode, Packer<PRINTER_INFO_5W>* packer);

/// The order that gives a printer the changeable members of `info`; its device mode goes into `devMode`.
nlohmann::json ChangeOrder(const std::string& printer, const PRINTER_INFO_2W& info, std::string* devMode);

}  // namespace portwise::platform
