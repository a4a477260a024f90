#include "xpml/port/command_table.h"

#include <cstddef>
#include <iterator>
#include <utility>

#include "monitor/port_context.h"
#include "xpml/document.h"
#include "xpml/port/input_buffer_command.h"
#include "xpml/port/job_command.h"
#include "xpml/port/network_command.h"
#include "xpml/port/port_command.h"
#include "xpml/port/print_commands.h"
#include "xpml/port/query_commands.h"
#include "xpml/port/settings_command.h"
#include "xpml/port/state_command.h"

namespace portwise {
namespace {

struct PortCommand {
  const char* path;
  bool (*run)(XPML_Document& document, PortContext& port);
};

constexpr PortCommand kCommands[] = {
    {"/packet", RunPacket},
    {"/page", RunPage},
    {"end", RunEnd},
    {"/input_buffer", RunInputBuffer},
    {"/job", RunJob},
    {"/network", RunNetwork},
    {"/port", RunPort},
    {"/printer", RunPrinter},
    {"/query", [](XPML_Document& document, PortContext& port) { return RunQuery(document, port); }},
    {"/request", [](XPML_Document& document, PortContext& port) { return RunRequest(document, port); }},
    {"/settings", RunSettings},
    {"/state", RunState},
    {"/smart_card", RunSmartCard},
};

/// The only place that knows what the context of a port command is.
template <std::size_t Row>
bool RunRow(XPML_Document& document, void* port) {
  return kCommands[Row].run(document, *static_cast<PortContext*>(port));
}

template <std::size_t... Row>
void RegisterRows(XPML_Document& document, PortContext* port, std::index_sequence<Row...>) {
  (document.RegisterHandler(kCommands[Row].path, RunRow<Row>, port), ...);
}

}  // namespace

void CommandTable::RegisterOn(XPML_Document& document, PortContext* port) {
  RegisterRows(document, port, std::make_index_sequence<std::size(kCommands)>());
}

bool CommandTable::IsClosing(PortContext* port) { return port && port->IsClosing(); }

}  // namespace portwise
