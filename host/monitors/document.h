#pragma once

#include <windows.h>

#include <string>

namespace portwise {

/// A document that begins at a port: the job it belongs to, and what its user sees of it.
struct Document {
  std::string printer;
  DWORD job = 0;
  std::string name;
};

}  // namespace portwise
