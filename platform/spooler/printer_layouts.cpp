#include "platform/spooler/printer_layouts.h"

#include <cstddef>
#include <cstring>

#include "platform/spooler/printer_handles.h"
#include "platform/text.h"

namespace portwise::platform {

namespace {

using Json = nlohmann::json;

/// The timeouts that Windows itself gives a printer, in milliseconds.
constexpr DWORD kDeviceNotSelectedTimeout = 15000;
constexpr DWORD kTransmissionRetryTimeout = 45000;

template <class Info>
struct TextRow {
  const char* field;
  LPWSTR Info::*member;
};

constexpr TextRow<PRINTER_INFO_2W> kTexts2[] = {
    {"name", &PRINTER_INFO_2W::pPrinterName},  {"share", &PRINTER_INFO_2W::pShareName},
    {"port", &PRINTER_INFO_2W::pPortName},     {"driver", &PRINTER_INFO_2W::pDriverName},
    {"comment", &PRINTER_INFO_2W::pComment},   {"location", &PRINTER_INFO_2W::pLocation},
    {"separator", &PRINTER_INFO_2W::pSepFile}, {"processor", &PRINTER_INFO_2W::pPrintProcessor},
    {"datatype", &PRINTER_INFO_2W::pDatatype}, {"parameters", &PRINTER_INFO_2W::pParameters},
};

/// Those that SetPrinter changes.
constexpr TextRow<PRINTER_INFO_2W> kChangeable[] = {
    {"port", &PRINTER_INFO_2W::pPortName},         {"comment", &PRINTER_INFO_2W::pComment},
    {"location", &PRINTER_INFO_2W::pLocation},     {"separator", &PRINTER_INFO_2W::pSepFile},
    {"datatype", &PRINTER_INFO_2W::pDatatype},     {"parameters", &PRINTER_INFO_2W::pParameters},
    {"driverName", &PRINTER_INFO_2W::pDriverName}, {"processor", &PRINTER_INFO_2W::pPrintProcessor},
};

DWORD Attributes(const Json& printer) { return printer.value("attributes", DWORD{0}); }

/// The server's name; none for a printer of this computer.
template <class Info>
void PackServer(const Json& printer, Packer<Info>* packer) {
  if (const auto server = Field(printer, "server"); !server.empty()) packer->Text(&Info::pServerName, server);
}

bool IsDevMode(const std::string& bytes) {
  constexpr std::size_t kHead = offsetof(DEVMODEW, dmFields);
  WORD size = 0;
  WORD extra = 0;
  if (bytes.size() < kHead) return false;
  std::memcpy(&size, bytes.data() + offsetof(DEVMODEW, dmSize), sizeof size);
  std::memcpy(&extra, bytes.data() + offsetof(DEVMODEW, dmDriverExtra), sizeof extra);
  return size >= kHead && bytes.size() >= std::size_t{size} + extra;
}

}  // namespace

void PackPrinter(const Json& printer, const std::string&, Packer<PRINTER_INFO_1W>* packer) {
  const auto name = Field(printer, "name");
  const auto comment = Field(printer, "comment");
  PRINTER_INFO_1W info{};
  info.Flags = PRINTER_ENUM_ICON8;
  packer->Add(info);
  packer->Text(&PRINTER_INFO_1W::pName, name);
  packer->Text(&PRINTER_INFO_1W::pDescription, name + TEXT(",") + Field(printer, "driver") + TEXT(",") + comment);
  packer->Text(&PRINTER_INFO_1W::pComment, comment);
}

void PackPrinter(const Json& printer, const std::string& devMode, Packer<PRINTER_INFO_2W>* packer) {
  PRINTER_INFO_2W info{};
  info.Attributes = Attributes(printer);
  info.Status = printer.value("status", DWORD{0});
  info.cJobs = printer.value("jobs", DWORD{0});
  info.Priority = info.DefaultPriority = 1;
  packer->Add(info);
  for (const auto& row : kTexts2) packer->Text(row.member, Field(printer, row.field));
  PackServer(printer, packer);
  if (IsDevMode(devMode)) packer->Bytes(&PRINTER_INFO_2W::pDevMode, devMode);
}

void PackPrinter(const Json& printer, const std::string&, Packer<PRINTER_INFO_4W>* packer) {
  PRINTER_INFO_4W info{};
  info.Attributes = Attributes(printer);
  packer->Add(info);
  packer->Text(&PRINTER_INFO_4W::pPrinterName, Field(printer, "name"));
  PackServer(printer, packer);
}

void PackPrinter(const Json& printer, const std::string&, Packer<PRINTER_INFO_5W>* packer) {
  PRINTER_INFO_5W info{};
  info.Attributes = Attributes(printer);
  info.DeviceNotSelectedTimeout = kDeviceNotSelectedTimeout;
  info.TransmissionRetryTimeout = kTransmissionRetryTimeout;
  packer->Add(info);
  packer->Text(&PRINTER_INFO_5W::pPrinterName, Field(printer, "name"));
  packer->Text(&PRINTER_INFO_5W::pPortName, Field(printer, "port"));
}

Json ChangeOrder(const std::string& printer, const PRINTER_INFO_2W& info, std::string* devMode) {
  Json order{{"op", "printer-set"}, {"name", printer}, {"attributes", info.Attributes}};
  for (const auto& row : kChangeable) {
    if (LPWSTR text = info.*row.member) order[row.field] = ToUtf8(text);
  }
  const bool shared = info.Attributes & PRINTER_ATTRIBUTE_SHARED;
  if (!shared || info.pShareName) order["share"] = shared ? ToUtf8(info.pShareName) : std::string();
  if (const DEVMODEW* mode = info.pDevMode)
    devMode->assign(reinterpret_cast<const char*>(mode), std::size_t{mode->dmSize} + mode->dmDriverExtra);
  return order;
}

}  // namespace portwise::platform
