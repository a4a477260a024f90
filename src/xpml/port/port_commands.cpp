#include "xpml/port/port_commands.h"

#include "monitor/port_context.h"
#include "xpml/document.h"
#include "xpml/port/print_commands.h"
#include "xpml/port/query_commands.h"
#include "xpml/port/state_command.h"

namespace portwise {
namespace {

struct PortCommand {
  const char* path;
  HandlerFunction run;
};

constexpr PortCommand kCommands[] = {
    {"/packet", RunPacket},
    {"/page", RunPage},
    {"end", RunEnd},
};

}  // namespace

void PortCommands::RegisterOn(XPML_Document& document, PortContext* port) {
  for (const PortCommand& command : kCommands) document.RegisterHandler(command.path, command.run, port);
  RegisterQueryCommands(document, *port);
  document.RegisterHandler("/state", RunState, port);
}

}  // namespace portwise
