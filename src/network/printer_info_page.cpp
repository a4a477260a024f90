#include "network/printer_info_page.h"

#include "settings/printer_info.h"

namespace portwise {
namespace {

constexpr struct {
  const char* label;
  OString PrinterInfo::*value;
} kLines[] = {
    {"Name: \t\t\t", &PrinterInfo::printerName},
    {"Share Name: \t\t", &PrinterInfo::shareName},
    {"Monitor : \t\t", &PrinterInfo::monitorName},
    {"Driver Name: \t\t", &PrinterInfo::driverName},
    {"Driver Directory: \t", &PrinterInfo::driverFolder},
    {"Driver File: \t\t", &PrinterInfo::driverFile},
    {"Port: \t\t\t", &PrinterInfo::portName},
    {"Manufacturer: \t\t", &PrinterInfo::manufacturer},
    {"Environment: \t\t", &PrinterInfo::environment},
    {"Hardware ID: \t\t", &PrinterInfo::hardwareId},
    {"Help File: \t\t", &PrinterInfo::helpFile},
    {"Location: \t\t", &PrinterInfo::location},
    {"Manufacturer: \t\t", &PrinterInfo::manufacturer},
    {"OEM: \t\t\t", &PrinterInfo::oemUrl},
    {"Print Processor: \t", &PrinterInfo::printProcessor},
    {"Provider: \t\t", &PrinterInfo::provider},
    {"Server Name: \t\t", &PrinterInfo::serverName},
};

}  // namespace

OString PrinterInfoPage(const OString& printer) {
  const PrinterInfo info(printer);
  OString page;
  for (const auto& line : kLines) page += OString(line.label) + info.*line.value + "\r\n";
  return page;
}

}  // namespace portwise
