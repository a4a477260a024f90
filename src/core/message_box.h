#pragma once

#include <windows.h>

namespace portwise {

/// Message boxes, through "User32.dll" as far as the system has it: the library needs none to be loaded.

/// Whether somebody sits in front of what this process shows. Not so in services, whose boxes nobody could dismiss.
bool HasInteractiveUser();

/// Shows a box without an owner and waits until it is dismissed. Texts are in the ANSI code page, the style and the
/// result those of the system's call; 0 where nothing shows message boxes.
int ShowMessageBox(LPCSTR text, LPCSTR caption, UINT style);

}  // namespace portwise
