#include "docs/generators/page.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace portwise {

int RunGenerator(int argc, char** argv, const std::string& page) {
  const bool check = argc == 3 && std::strcmp(argv[1], "--check") == 0;
  if (argc < 2 || argv[argc - 1][0] == '-' || (argc > 2 && !check)) {
    std::fprintf(stderr, "usage: %s [--check] FILE\n", argv[0]);
    return 2;
  }
  const char* path = argv[argc - 1];
  if (check) {
    std::ostringstream found;
    found << std::ifstream(path, std::ios::binary).rdbuf();
    if (found.str() == page) return 0;
    std::fprintf(stderr, "%s is not what its source says; run %s %s\n", path, argv[0], path);
    return 1;
  }
  std::ofstream file(path, std::ios::binary);
  file << page;
  file.close();
  return file ? 0 : 1;
}

}  // namespace portwise
