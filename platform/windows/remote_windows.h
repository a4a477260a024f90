#pragma once

#include <windows.h>

#include <optional>

#include "platform/spooler/json.h"

namespace portwise::platform {

/// Windows of other processes, by their handles. Without the lock.

/// The handle can be that of another process's window, which may have gone.
bool IsRemote(HWND window);

/// Waits for the window's answer and serves the calling thread's own sent calls meanwhile. Nothing, with the last error
/// set, when the window or its process has gone.
std::optional<LRESULT> RemoteSend(HWND window, UINT message, WPARAM wParam, LPARAM lParam, DWORD timeout);
bool RemotePost(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
/// "show", "activate" or "enable" on the window's own thread, waiting in the same way.
std::optional<LRESULT> RemoteChange(const char* operation, HWND window, WPARAM argument);
/// What is known of it: "process", "thread", "text", "style", "visible", "rect".
std::optional<nlohmann::json> RemoteState(HWND window);

/// Asks the process at a place, and waits; nothing when it has gone or answers that it did not do it.
std::optional<nlohmann::json> AskPlace(unsigned place, const nlohmann::json& request);

}  // namespace portwise::platform
