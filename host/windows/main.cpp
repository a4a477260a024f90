// portwise-host: drives portwise.dll as the print spooler of Windows does, where that is not to be had: under Wine,
// whose spooler has no print monitors. It sets up ports and printers where the spooler and the port monitors keep them,
// loads the library, gives it a port monitor of its own to stand on, and drives jobs from files through it.

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

#include "host/windows/orders.h"

namespace {

const char kUsage[] =
    "portwise-host [--library FILE] [ORDERS]\n"
    "\n"
    "Drives a print monitor as the print spooler does, by orders from a file or from standard input. Each is answered "
    "by a\n"
    "line: \"ok\", with what it gives, or \"failed: \" and why. Not for a computer whose spooler drives the monitor "
    "itself.\n"
    "\n"
    "  --library FILE  the print monitor, instead of portwise.dll\n"
    "\n"
    "Orders, one a line; what has blanks in it stands in double quotes:\n";

int Complain(const std::string& what) {
  std::fprintf(stderr, "portwise-host: %s; --help tells more\n", what.c_str());
  return 2;
}

}  // namespace

int main(int count, char** arguments) {
  _setmode(_fileno(stdout), _O_BINARY);
  std::string library = "portwise.dll";
  std::string file;
  for (int i = 1; i < count; ++i) {
    const std::string argument = arguments[i];
    if (argument == "--help" || argument == "-h") {
      std::printf("%s%s", kUsage, portwise::Orders::Help().c_str());
      return 0;
    }
    if (argument == "--library") {
      if (++i == count) return Complain("--library needs a file");
      library = arguments[i];
    } else if (argument.starts_with("-") || !file.empty()) {
      return Complain("\"" + argument + "\" is not expected");
    } else {
      file = argument;
    }
  }
  std::ifstream orders(file);
  if (!file.empty() && !orders) return Complain(file + " cannot be read");
  std::istream& input = file.empty() ? std::cin : orders;
  portwise::Orders host(library);
  std::string line;
  while (std::getline(input, line) && host.Obey(line)) continue;
  host.Finish();
  return 0;
}
