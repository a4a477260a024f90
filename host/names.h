#pragma once

#include <string>

namespace portwise {

/// Why `name` cannot name a printer or a port; empty when it can. `what` ("printer", "port") begins the message.
std::string NameFault(const std::string& what, const std::string& name);

/// Why `text` cannot be kept as a line of text of a printer; empty when it can.
std::string TextFault(const std::string& what, const std::string& text);

/// What names are compared by: two names that differ only in case are the same name.
std::u16string NameKey(const std::string& name);

}  // namespace portwise
