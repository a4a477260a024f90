#pragma once

// The styles of windows and controls that the dialog templates use, with the numbers of the Windows API: the resource
// compiler runs on machines that have no SDK headers.

#define DS_MODALFRAME 0x80L
#define DS_SHELLFONT 0x48L
#define DS_CENTER 0x800L
#define WS_POPUP 0x80000000L
#define WS_CAPTION 0xC00000L
#define WS_SYSMENU 0x80000L
#define WS_MINIMIZEBOX 0x20000L
#define SS_LEFTNOWORDWRAP 0xCL
#define SS_NOPREFIX 0x80L
#define SS_ENDELLIPSIS 0x4000L
