#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <vector>

/// Flag words, as the command line writes them.
namespace portwise {

struct FlagName {
  const char* name;
  DWORD flag;
};

/// The names of the flags that are set, in the table's order; last, as one number, what has no name.
std::vector<std::string> NamesOf(std::span<const FlagName> table, DWORD flags);
std::vector<std::string> PrinterStatusNames(DWORD status);
std::vector<std::string> JobStatusNames(DWORD status);

/// Names with commas between them.
std::string Joined(const std::vector<std::string>& names);

}  // namespace portwise
