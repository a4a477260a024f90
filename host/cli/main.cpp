#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "host/cli/client.h"
#include "host/cli/commands.h"

namespace {

/// Standard streams that the caller closed lead nowhere, so that no socket takes their place.
void FillStandardStreams() {
  int descriptor;
  do descriptor = open("/dev/null", O_RDWR);
  while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0) close(descriptor);
}

}  // namespace

int main(int argc, char** argv) {
  FillStandardStreams();
  CLI::App app("Prints to label printers and manages them.", "portwise");
  app.require_subcommand(1);
  portwise::AddPortCommands(app);
  portwise::AddPrinterCommands(app);
  portwise::AddPrintCommand(app);
  portwise::AddJobCommands(app);
  portwise::AddRegistryCommands(app);
  portwise::AddEventCommand(app);
  portwise::AddLogCommands(app);
  portwise::AddXpmlCommand(app);
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
