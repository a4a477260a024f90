#include <signal.h>
#include <sys/signalfd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <vector>

#include "printer/control.h"
#include "printer/label_printer.h"

namespace portwise::printer {
namespace {

/// SIGTERM and SIGINT as a descriptor, so that they end the poll loop between two steps.
UniqueFd EndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  UniqueFd descriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!descriptor) ThrowErrno("signalfd");
  return descriptor;
}

void Run(const Settings& settings, std::uint16_t controlPort) {
  const UniqueFd ended = EndSignals();
  LabelPrinter printer(settings);
  Control control(&printer, controlPort);
  std::printf("ready %u %u\n", printer.Port(), control.Port());
  std::fflush(stdout);

  std::vector<pollfd> descriptors;
  while (true) {
    descriptors.assign(1, {ended.Get(), POLLIN, 0});
    printer.AddDescriptors(&descriptors);
    control.AddDescriptors(&descriptors);
    if (::poll(descriptors.data(), descriptors.size(), printer.WaitLimit()) < 0 && errno != EINTR) ThrowErrno("poll");
    if (descriptors[0].revents != 0) return;
    printer.Serve();
    control.Serve();
  }
}

}  // namespace
}  // namespace portwise::printer

int main(int argc, char** argv) {
  using namespace portwise::printer;
  Settings settings;
  std::uint16_t controlPort = 0;
  CLI::App app(
      "A label printer made of software. It listens on 127.0.0.1 and prints \"ready PORT CONTROL\" once it serves.");
  app.add_option("--port", settings.port,
                 "TCP port of the printer, which answers status on the next one too; 0 for any free pair")
      ->capture_default_str();
  app.add_option("--control", controlPort, "TCP port that takes orders; 0 for any free one")->capture_default_str();
  app.add_option("--record", settings.recordFolder,
                 "folder that gets NNNN.prn for each connection; without it only counts and a CRC-32 are kept");
  app.add_option("--speed", settings.speed, "bytes printed a second; 0 for at once")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  app.add_option("--buffer", settings.buffer, "bytes taken ahead of printing")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--page-time", settings.pageTime, "milliseconds that a page takes; 0 for none")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  app.footer(Control::Help());
  CLI11_PARSE(app, argc, argv);
  try {
    Run(settings, controlPort);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "portwise-printer: %s\n", failure.what());
    return 1;
  }
  return 0;
}
