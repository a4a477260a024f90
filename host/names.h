#pragma once

#include <string>

namespace portwise {

/// Why `name` cannot name a printer or a port; empty when it can. `what` ("printer", "port") begins the message.
std::string NameFault(const std::string& what, const std::string& name);

/// Whether a name is "\\server\name": that of a printer or a share of another computer.
bool IsRemoteName(const std::string& name);
/// What NameFault says, for a name that may also be a remote one; then it is about each of its two halves.
std::string NameOrRemoteFault(const std::string& what, const std::string& name);
/// Between a name and its key in the registry, where a comma stands for each backslash.
std::string KeyOfName(std::string name);
std::string NameOfKey(std::string key);

/// Why `text` cannot be kept as a line of text of a printer; empty when it can.
std::string TextFault(const std::string& what, const std::string& text);

/// What names are compared by: two names that differ only in case are the same name.
std::u16string NameKey(const std::string& name);

}  // namespace portwise
