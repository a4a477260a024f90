#include <cstdio>

#include "host/cli/client.h"
#include "host/cli/commands.h"

int main(int argc, char** argv) {
  CLI::App app("Prints to label printers and manages them.", "portwise");
  app.require_subcommand(1);
  portwise::AddPortCommands(app);
  portwise::AddPrinterCommands(app);
  portwise::AddPrintCommand(app);
  portwise::AddJobCommands(app);
  portwise::AddRegistryCommands(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "portwise: %s\n", error.what());
    return 1;
  }
  return std::fflush(stdout) == 0 ? 0 : 1;
}
