#pragma once

/// The user interface: windows and dialogs, messages, timers, menus, icons, and what is measured of the system.
///
/// There is no display. The windows of a process are a tree in memory, which "platform/windows/inspect.h" reads and
/// drives. Windows of other processes under the same home can be named by their handles wherever a comment does not say
/// otherwise; a handle is a 32-bit number that no other process has. A pixel of a dialog is half a horizontal unit or
/// half a vertical one of its template, and the screen measures 1024 by 768.

#include <libloaderapi.h>
#include <wingdi.h>

DECLARE_HANDLE(HICON);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HBITMAP);
using HCURSOR = HICON;
using MENUTEMPLATEW = VOID;

// measures
#define SM_CXSCREEN 0
#define SM_CYSCREEN 1
#define SM_CYCAPTION 4
#define SM_CXBORDER 5
#define SM_CYBORDER 6
#define SM_CXDLGFRAME 7
#define SM_CYDLGFRAME 8
#define SM_CXICON 11
#define SM_CYICON 12
#define SM_CXSMICON 49
#define SM_CYSMICON 50
#define SM_TABLETPC 86
#define SM_MEDIACENTER 87
#define SM_STARTER 88
#define SM_SERVERR2 89

// styles
#define WS_POPUP 0x80000000u
#define WS_CHILD 0x40000000u
#define WS_MINIMIZE 0x20000000u
#define WS_VISIBLE 0x10000000u
#define WS_DISABLED 0x08000000u
#define WS_CAPTION 0x00C00000u
#define WS_BORDER 0x00800000u
#define WS_DLGFRAME 0x00400000u
#define WS_SYSMENU 0x00080000u
#define WS_THICKFRAME 0x00040000u
#define WS_GROUP 0x00020000u
#define WS_MINIMIZEBOX 0x00020000u
#define WS_TABSTOP 0x00010000u
#define WS_EX_DLGMODALFRAME 0x1u
#define WS_EX_TOPMOST 0x8u
#define WS_EX_TOOLWINDOW 0x80u
#define WS_EX_CLIENTEDGE 0x200u
#define WS_EX_APPWINDOW 0x40000u
#define DS_SETFONT 0x40L
#define DS_MODALFRAME 0x80L
#define DS_CENTER 0x800L
#define DS_CONTROL 0x400L
#define DS_FIXEDSYS 0x8L
#define DS_SHELLFONT (DS_SETFONT | DS_FIXEDSYS)
#define SS_ICON 0x3L
#define SS_TYPEMASK 0x1FL
#define SS_NOPREFIX 0x80L
#define SS_NOTIFY 0x100L
#define BS_PUSHBUTTON 0x0L
#define BS_DEFPUSHBUTTON 0x1L
#define BS_GROUPBOX 0x7L
#define BS_TYPEMASK 0xFL

// messages
#define WM_NULL 0x0000
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_MOVE 0x0003
#define WM_SIZE 0x0005
#define WM_ACTIVATE 0x0006
#define WM_SETFOCUS 0x0007
#define WM_KILLFOCUS 0x0008
#define WM_ENABLE 0x000A
#define WM_SETTEXT 0x000C
#define WM_GETTEXT 0x000D
#define WM_GETTEXTLENGTH 0x000E
#define WM_CLOSE 0x0010
#define WM_QUERYENDSESSION 0x0011
#define WM_QUIT 0x0012
#define WM_ENDSESSION 0x0016
#define WM_SHOWWINDOW 0x0018
#define WM_CANCELMODE 0x001F
#define WM_NEXTDLGCTL 0x0028
#define WM_SETFONT 0x0030
#define WM_GETFONT 0x0031
#define WM_COMPAREITEM 0x0039
#define WM_GETICON 0x007F
#define WM_SETICON 0x0080
#define WM_NCDESTROY 0x0082
#define WM_GETDLGCODE 0x0087
#define WM_KEYDOWN 0x0100
#define WM_KEYUP 0x0101
#define WM_CHAR 0x0102
#define WM_INITDIALOG 0x0110
#define WM_COMMAND 0x0111
#define WM_SYSCOMMAND 0x0112
#define WM_TIMER 0x0113
#define WM_INITMENUPOPUP 0x0117
#define WM_CTLCOLORMSGBOX 0x0132
#define WM_CTLCOLORSTATIC 0x0138
#define WM_MOUSEMOVE 0x0200
#define WM_LBUTTONDOWN 0x0201
#define WM_LBUTTONUP 0x0202
#define WM_LBUTTONDBLCLK 0x0203
#define WM_RBUTTONDOWN 0x0204
#define WM_RBUTTONUP 0x0205
#define WM_RBUTTONDBLCLK 0x0206
#define WM_CAPTURECHANGED 0x0215
#define WM_USER 0x0400
#define DM_GETDEFID (WM_USER + 0)
#define DM_SETDEFID (WM_USER + 1)
#define DC_HASDEFID 0x534B
#define BM_CLICK 0x00F5
#define BM_SETSTYLE 0x00F4
#define BN_CLICKED 0
#define EN_CHANGE 0x0300
#define STM_SETICON 0x0170
#define STM_GETICON 0x0171
#define ICON_SMALL 0
#define ICON_BIG 1
#define SC_MINIMIZE 0xF020
#define SC_CLOSE 0xF060
#define SC_RESTORE 0xF120
#define WA_INACTIVE 0
#define WA_ACTIVE 1
#define SIZE_RESTORED 0
#define SIZE_MINIMIZED 1
#define DLGC_DEFPUSHBUTTON 0x10
#define DLGC_UNDEFPUSHBUTTON 0x20
#define DLGC_STATIC 0x100
#define DLGC_HASSETSEL 0x8
#define MK_LBUTTON 0x1
#define MK_RBUTTON 0x2
#define ENDSESSION_CLOSEAPP 0x1
#define ENDSESSION_CRITICAL 0x40000000
#define ENDSESSION_LOGOFF 0x80000000
#define VK_TAB 0x09
#define VK_RETURN 0x0D
#define VK_ESCAPE 0x1B
#define VK_SPACE 0x20

#define MAKEWPARAM(low, high) static_cast<WPARAM>(static_cast<DWORD>(MAKELONG(low, high)))
#define MAKELPARAM(low, high) static_cast<LPARAM>(static_cast<DWORD>(MAKELONG(low, high)))
#define MAKELRESULT(low, high) static_cast<LRESULT>(static_cast<DWORD>(MAKELONG(low, high)))

// button and control ids
#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7

using WNDPROC = LRESULT(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);
using DLGPROC = INT_PTR(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);
using TIMERPROC = VOID(CALLBACK*)(HWND, UINT, UINT_PTR, DWORD);

struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};
using LPMSG = MSG*;

#pragma pack(push, 2)
/// The head of a dialog template; the menu, the class, the title, the font and the controls follow it.
struct DLGTEMPLATE {
  DWORD style;
  DWORD dwExtendedStyle;
  WORD cdit;
  SHORT x;
  SHORT y;
  SHORT cx;
  SHORT cy;
};
#pragma pack(pop)
static_assert(sizeof(DLGTEMPLATE) == 18);
using LPDLGTEMPLATEW = DLGTEMPLATE*;
using LPCDLGTEMPLATEW = const DLGTEMPLATE*;

#define HWND_TOP (static_cast<HWND>(nullptr))
#define HWND_BOTTOM (reinterpret_cast<HWND>(static_cast<LONG_PTR>(1)))
#define HWND_TOPMOST (reinterpret_cast<HWND>(static_cast<LONG_PTR>(-1)))
#define HWND_NOTOPMOST (reinterpret_cast<HWND>(static_cast<LONG_PTR>(-2)))
#define SWP_NOSIZE 0x1u
#define SWP_NOMOVE 0x2u
#define SWP_NOZORDER 0x4u
#define SWP_NOREDRAW 0x8u
#define SWP_NOACTIVATE 0x10u
#define SWP_FRAMECHANGED 0x20u
#define SWP_SHOWWINDOW 0x40u
#define SWP_HIDEWINDOW 0x80u
#define SWP_NOOWNERZORDER 0x200u

#define SW_HIDE 0
#define SW_SHOWNORMAL 1
#define SW_SHOWMINIMIZED 2
#define SW_SHOWNOACTIVATE 4
#define SW_SHOW 5
#define SW_MINIMIZE 6
#define SW_SHOWMINNOACTIVE 7
#define SW_SHOWNA 8
#define SW_RESTORE 9
#define SW_SHOWDEFAULT 10

#define GWL_STYLE (-16)
#define GWL_EXSTYLE (-20)
#define GWLP_ID (-12)
#define GWLP_USERDATA (-21)
#define DWLP_MSGRESULT 0
#define DWLP_DLGPROC (DWLP_MSGRESULT + sizeof(LRESULT))
#define DWLP_USER (DWLP_DLGPROC + sizeof(DLGPROC))

#define PM_NOREMOVE 0x0u
#define PM_REMOVE 0x1u
#define SMTO_NORMAL 0x0u
#define SMTO_BLOCK 0x1u
#define SMTO_ABORTIFHUNG 0x2u

#define MF_BYCOMMAND 0x0u
#define MF_BYPOSITION 0x400u
#define MF_ENABLED 0x0u
#define MF_GRAYED 0x1u
#define MF_DISABLED 0x2u
#define MF_CHECKED 0x8u
#define MF_UNCHECKED 0x0u
#define MF_POPUP 0x10u
#define MF_SEPARATOR 0x800u
#define TPM_LEFTALIGN 0x0u
#define TPM_RIGHTBUTTON 0x2u
#define TPM_BOTTOMALIGN 0x20u
#define TPM_NONOTIFY 0x80u
#define TPM_RETURNCMD 0x100u

struct TPMPARAMS {
  UINT cbSize;
  RECT rcExclude;
};
using LPTPMPARAMS = TPMPARAMS*;

#define MB_OK 0x0u
#define MB_OKCANCEL 0x1u
#define MB_ABORTRETRYIGNORE 0x2u
#define MB_YESNOCANCEL 0x3u
#define MB_YESNO 0x4u
#define MB_RETRYCANCEL 0x5u
#define MB_ICONERROR 0x10u
#define MB_ICONQUESTION 0x20u
#define MB_ICONWARNING 0x30u
#define MB_ICONINFORMATION 0x40u

#define DT_WORDBREAK 0x10u
#define DT_SINGLELINE 0x20u
#define DT_CALCRECT 0x400u
#define DT_NOPREFIX 0x800u

#define IMAGE_ICON 1u
#define LR_DEFAULTCOLOR 0x0u
#define LR_DEFAULTSIZE 0x40u
#define LR_SHARED 0x8000u
#define LR_COPYFROMRESOURCE 0x4000u

#define USER_TIMER_MINIMUM 0x0000000A
#define USER_TIMER_MAXIMUM 0x7FFFFFFF

extern "C" {
// icons and menus
/// Icons and cursors belong to their module and last as long as it does.
HICON WINAPI LoadIconW(HINSTANCE module, LPCWSTR name);
HCURSOR WINAPI LoadCursorW(HINSTANCE module, LPCWSTR name);
/// Only icons. One of another size is another handle; those without LR_SHARED are to be destroyed, the others stay.
HANDLE WINAPI LoadImageW(HINSTANCE module, LPCWSTR name, UINT type, int width, int height, UINT flags);
/// Only icons; the copy tells its resource as the original does.
HANDLE WINAPI CopyImage(HANDLE image, UINT type, int width, int height, UINT flags);
BOOL WINAPI DestroyIcon(HICON icon);
HBITMAP WINAPI LoadBitmapW(HINSTANCE module, LPCWSTR name);
HMENU WINAPI LoadMenuW(HINSTANCE module, LPCWSTR name);
/// Reads the template, which must be sound, to its end. ERROR_INVALID_DATA for one of another version.
HMENU WINAPI LoadMenuIndirectW(const MENUTEMPLATEW* menuTemplate);
/// With its submenus.
BOOL WINAPI DestroyMenu(HMENU menu);
HMENU WINAPI GetSubMenu(HMENU menu, int position);
int WINAPI GetMenuItemCount(HMENU menu);
int WINAPI GetMenuStringW(HMENU menu, UINT item, LPWSTR text, int size, UINT flags);
BOOL WINAPI SetMenuDefaultItem(HMENU menu, UINT item, UINT byPosition);
UINT WINAPI GetMenuDefaultItem(HMENU menu, UINT byPosition, UINT flags);
/// What the item was before; -1 without such an item.
BOOL WINAPI EnableMenuItem(HMENU menu, UINT item, UINT flags);
DWORD WINAPI CheckMenuItem(HMENU menu, UINT item, UINT flags);
/// Shows the menu until an item is chosen or it is dismissed; the thread's messages are served meanwhile. One menu a
/// process at a time: ERROR_POPUP_ALREADY_ACTIVE. The window must be the calling thread's.
BOOL WINAPI TrackPopupMenu(HMENU menu, UINT flags, int x, int y, int reserved, HWND window, const RECT* rect);
BOOL WINAPI TrackPopupMenuEx(HMENU menu, UINT flags, int x, int y, HWND window, LPTPMPARAMS parameters);

// dialogs
/// A damaged template cannot be told from a sound one here: its size is not known. Null with
/// ERROR_CANNOT_FIND_WND_CLASS when it has a control of a class that is not registered.
HWND WINAPI CreateDialogIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW dialog, HWND owner, DLGPROC procedure,
                                       LPARAM parameter);
INT_PTR WINAPI DialogBoxIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW dialog, HWND owner, DLGPROC procedure,
                                       LPARAM parameter);
BOOL WINAPI EndDialog(HWND dialog, INT_PTR result);
/// Tab, Enter, Escape and the space bar; the rest is dispatched.
BOOL WINAPI IsDialogMessageW(HWND dialog, LPMSG message);
HWND WINAPI GetDlgItem(HWND dialog, int id);
int WINAPI GetDlgCtrlID(HWND control);
BOOL WINAPI SetDlgItemTextW(HWND dialog, int id, LPCWSTR text);
UINT WINAPI GetDlgItemTextW(HWND dialog, int id, LPWSTR text, int size);
LRESULT WINAPI SendDlgItemMessageW(HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam);
/// 0 without a screen or somebody in front of it.
int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style);
int WINAPI MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT style);

// windows
LRESULT WINAPI DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
/// Only windows of the calling thread.
BOOL WINAPI DestroyWindow(HWND window);
BOOL WINAPI IsWindow(HWND window);
BOOL WINAPI IsWindowVisible(HWND window);
BOOL WINAPI IsWindowEnabled(HWND window);
BOOL WINAPI IsIconic(HWND window);
BOOL WINAPI ShowWindow(HWND window, int command);
BOOL WINAPI EnableWindow(HWND window, BOOL enable);
BOOL WINAPI SetForegroundWindow(HWND window);
HWND WINAPI GetForegroundWindow();
/// Everybody may here.
BOOL WINAPI AllowSetForegroundWindow(DWORD process);
HWND WINAPI GetDesktopWindow();
HWND WINAPI GetParent(HWND window);
DWORD WINAPI GetWindowThreadProcessId(HWND window, LPDWORD process);
/// The following ones, down to RedrawWindow, know windows of the own process only, and the desktop.
BOOL WINAPI SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags);
BOOL WINAPI MoveWindow(HWND window, int x, int y, int width, int height, BOOL repaint);
BOOL WINAPI GetWindowRect(HWND window, LPRECT rect);
BOOL WINAPI GetClientRect(HWND window, LPRECT rect);
int WINAPI MapWindowPoints(HWND from, HWND to, LPPOINT points, UINT count);
BOOL WINAPI ScreenToClient(HWND window, LPPOINT point);
BOOL WINAPI ClientToScreen(HWND window, LPPOINT point);
LONG_PTR WINAPI GetWindowLongPtrW(HWND window, int index);
LONG_PTR WINAPI SetWindowLongPtrW(HWND window, int index, LONG_PTR value);
LONG WINAPI GetWindowLongW(HWND window, int index);
LONG WINAPI SetWindowLongW(HWND window, int index, LONG value);
/// Nothing is ever painted.
BOOL WINAPI InvalidateRect(HWND window, const RECT* rect, BOOL erase);
BOOL WINAPI UpdateWindow(HWND window);
/// The text of another process's window is that of its title bar.
int WINAPI GetWindowTextW(HWND window, LPWSTR text, int size);
int WINAPI GetWindowTextLengthW(HWND window);
BOOL WINAPI SetWindowTextW(HWND window, LPCWSTR text);
HDC WINAPI GetDC(HWND window);
int WINAPI ReleaseDC(HWND window, HDC context);
/// Only measures, with DT_CALCRECT. The height of the text.
int WINAPI DrawTextW(HDC context, LPCWSTR text, int length, LPRECT rect, UINT format);

// what is pointed at and typed into
HWND WINAPI SetFocus(HWND window);
HWND WINAPI GetFocus();
HWND WINAPI SetCapture(HWND window);
HWND WINAPI GetCapture();
BOOL WINAPI ReleaseCapture();
BOOL WINAPI GetCursorPos(LPPOINT point);
/// 0 for what is not known.
int WINAPI GetSystemMetrics(int index);

// messages
BOOL WINAPI GetMessageW(LPMSG message, HWND window, UINT first, UINT last);
BOOL WINAPI PeekMessageW(LPMSG message, HWND window, UINT first, UINT last, UINT remove);
/// Characters come by themselves: there is no keyboard whose keys would have to be translated.
BOOL WINAPI TranslateMessage(const MSG* message);
LRESULT WINAPI DispatchMessageW(const MSG* message);
BOOL WINAPI PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
/// To a window of another thread or process it waits for the answer and serves what is sent to the calling thread
/// meanwhile. 0 with ERROR_INVALID_WINDOW_HANDLE when the window or its process ends before it has answered. What
/// wParam and lParam point at does not travel to other processes.
LRESULT WINAPI SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT WINAPI SendMessageTimeoutW(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT flags, UINT timeout,
                                   DWORD_PTR* result);
void WINAPI PostQuitMessage(int code);
UINT WINAPI RegisterWindowMessageW(LPCWSTR name);
/// Timers keep the platform's clock and belong to the calling thread.
UINT_PTR WINAPI SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC procedure);
BOOL WINAPI KillTimer(HWND window, UINT_PTR id);

// properties
/// Names are compared without regard to case. Those of the desktop are seen by all processes and stay when the process
/// ends that set them, until the machine starts anew: whether a window that they name still lives, IsWindow tells.
/// Those of windows of other processes are not reached.
BOOL WINAPI SetPropW(HWND window, LPCWSTR name, HANDLE value);
HANDLE WINAPI GetPropW(HWND window, LPCWSTR name);
HANDLE WINAPI RemovePropW(HWND window, LPCWSTR name);
}
