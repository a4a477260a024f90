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

/// Runs the command that the arguments name, or prints the help that they ask for. The program's exit code.
int Parse(CLI::App& app, int argc, char** argv) {
  try {
    app.parse(argc, argv);
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  }
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
  portwise::AddStatusCommand(app);
  portwise::AddRegistryCommands(app);
  portwise::AddEventCommand(app);
  portwise::AddLogCommands(app);
  portwise::AddXpmlCommand(app);
  portwise::AddQueryCommand(app);
  portwise::AddUiCommand(app);
  try {
    const int code = Parse(app, argc, argv);
    portwise::FlushOutput();
    return code;
  } catch (const portwise::CommandError& error) {
    std::fprintf(stderr, "portwise: %s\n", error.what());
    return error.ExitCode();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "portwise: %s\n", error.what());
    return 1;
  }
}
