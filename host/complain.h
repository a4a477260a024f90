#pragma once

#include <string>

namespace portwise {

/// One line on standard error, for whoever runs the spooler. Any thread.
void Complain(const std::string& text);

}  // namespace portwise
