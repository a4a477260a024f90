#pragma once

#include <string>

namespace portwise {

/// Runs a generator, which writes the page to the file that its arguments name; with --check it fails when the file
/// says something else. The process's exit code.
int RunGenerator(int argc, char** argv, const std::string& page);

}  // namespace portwise
