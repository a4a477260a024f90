#include "host/cli/flag_names.h"

#include <winspool.h>

namespace portwise {

namespace {

constexpr FlagName kPrinterStatus[] = {
    {"paused", PRINTER_STATUS_PAUSED},
    {"error", PRINTER_STATUS_ERROR},
    {"pending-deletion", PRINTER_STATUS_PENDING_DELETION},
    {"paper-jam", PRINTER_STATUS_PAPER_JAM},
    {"paper-out", PRINTER_STATUS_PAPER_OUT},
    {"manual-feed", PRINTER_STATUS_MANUAL_FEED},
    {"paper-problem", PRINTER_STATUS_PAPER_PROBLEM},
    {"offline", PRINTER_STATUS_OFFLINE},
    {"io-active", PRINTER_STATUS_IO_ACTIVE},
    {"busy", PRINTER_STATUS_BUSY},
    {"printing", PRINTER_STATUS_PRINTING},
    {"output-full", PRINTER_STATUS_OUTPUT_BIN_FULL},
    {"not-available", PRINTER_STATUS_NOT_AVAILABLE},
    {"waiting", PRINTER_STATUS_WAITING},
    {"processing", PRINTER_STATUS_PROCESSING},
    {"initializing", PRINTER_STATUS_INITIALIZING},
    {"warming-up", PRINTER_STATUS_WARMING_UP},
    {"toner-low", PRINTER_STATUS_TONER_LOW},
    {"no-toner", PRINTER_STATUS_NO_TONER},
    {"page-punt", PRINTER_STATUS_PAGE_PUNT},
    {"user-intervention", PRINTER_STATUS_USER_INTERVENTION},
    {"out-of-memory", PRINTER_STATUS_OUT_OF_MEMORY},
    {"door-open", PRINTER_STATUS_DOOR_OPEN},
    {"server-unknown", PRINTER_STATUS_SERVER_UNKNOWN},
    {"power-save", PRINTER_STATUS_POWER_SAVE},
};

constexpr FlagName kJobStatus[] = {
    {"paused", JOB_STATUS_PAUSED},
    {"error", JOB_STATUS_ERROR},
    {"deleting", JOB_STATUS_DELETING},
    {"spooling", JOB_STATUS_SPOOLING},
    {"printing", JOB_STATUS_PRINTING},
    {"offline", JOB_STATUS_OFFLINE},
    {"paper-out", JOB_STATUS_PAPEROUT},
    {"printed", JOB_STATUS_PRINTED},
    {"deleted", JOB_STATUS_DELETED},
    {"blocked", JOB_STATUS_BLOCKED_DEVQ},
    {"user-intervention", JOB_STATUS_USER_INTERVENTION},
    {"restart", JOB_STATUS_RESTART},
    {"complete", JOB_STATUS_COMPLETE},
};

}  // namespace

std::vector<std::string> NamesOf(std::span<const FlagName> table, DWORD flags) {
  std::vector<std::string> names;
  for (const FlagName& row : table) {
    if (flags & row.flag) names.emplace_back(row.name);
    flags &= ~row.flag;
  }
  if (flags != 0) names.push_back(std::to_string(flags));
  return names;
}

std::vector<std::string> PrinterStatusNames(DWORD status) { return NamesOf(kPrinterStatus, status); }

std::vector<std::string> JobStatusNames(DWORD status) { return NamesOf(kJobStatus, status); }

std::string Joined(const std::vector<std::string>& names) {
  std::string joined;
  for (const std::string& name : names) joined += (joined.empty() ? "" : ",") + name;
  return joined;
}

}  // namespace portwise
