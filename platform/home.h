#pragma once

#include <string>
#include <string_view>

namespace portwise::platform {

/// The folder under which everything that lasts is kept: PORTWISE_HOME, else /var/lib/portwise for root, else
/// $XDG_STATE_HOME/portwise (or ~/.local/state/portwise). Created with its parents when missing; without a trailing
/// slash. Read from the environment at every call, so that a test can set up its own.
std::string Home();

/// The Linux path of a Windows path: `C:\` is the folder drive_c of the home, backslashes and slashes separate, any
/// other drive gives an empty string. A path that begins with "/" is a Linux path. A relative path belongs to the
/// current directory. Components are matched as they are written, without folding case.
std::string LinuxPath(std::u16string_view windowsPath);

/// The Windows form of a Linux path: below drive_c it begins with `C:\`, elsewhere it is the path itself.
std::u16string WindowsPath(std::string_view linuxPath);

}  // namespace portwise::platform
