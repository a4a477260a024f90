#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <string_view>

#include "platform/spooler/json.h"

namespace portwise::platform {

/// What the processes of one home share, in a locked file of its folder "windows", which is the user's own. It begins
/// anew with each start of the machine, as a session does. Any thread.

/// The folder; created when missing.
std::string WindowsFolder();

/// The desktop window, which belongs to no process.
bool IsDesktop(HWND window);

/// Changes, or only looks at, what is shared: a JSON object. False when the file cannot be used.
bool ChangeDesktop(const std::function<void(nlohmann::json& shared)>& change);
bool LookAtDesktop(const std::function<void(const nlohmann::json& shared)>& look);

POINT CursorPosition();
void SetCursorPosition(POINT position);
HWND ForegroundWindow();
void SetForeground(HWND window);

/// The number of a message by its name: the same in all processes.
UINT RegisteredMessage(const std::u16string& name);

/// Window handles as numbers, which is how they are kept and travel.
inline std::uint32_t NumberOf(HWND window) { return static_cast<std::uint32_t>(reinterpret_cast<ULONG_PTR>(window)); }
inline HWND WindowOf(std::uint32_t number) { return reinterpret_cast<HWND>(static_cast<ULONG_PTR>(number)); }

}  // namespace portwise::platform
