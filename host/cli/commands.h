#pragma once

#include <CLI/CLI.hpp>

/// Each function adds one family of commands to the command line. A command that fails throws CommandError.
namespace portwise {

void AddPortCommands(CLI::App& app);
void AddPrinterCommands(CLI::App& app);
void AddPrintCommand(CLI::App& app);
void AddJobCommands(CLI::App& app);
void AddStatusCommand(CLI::App& app);
void AddRegistryCommands(CLI::App& app);
/// Those that write and read files of registry text, below "registry".
void AddRegistryFileCommands(CLI::App& registry);
void AddEventCommand(CLI::App& app);
void AddLogCommands(CLI::App& app);
void AddXpmlCommand(CLI::App& app);
void AddQueryCommand(CLI::App& app);
void AddUiCommand(CLI::App& app);

}  // namespace portwise
