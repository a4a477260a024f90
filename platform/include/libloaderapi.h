#pragma once

/// Resources of modules: of the program and loaded libraries, which carry them in a note, and of PE files that are
/// opened as data. References on modules that code takes on itself.

#include <winbase.h>

using HGLOBAL = HANDLE;
DECLARE_HANDLE(HRSRC);

#define LOAD_LIBRARY_AS_DATAFILE 0x2u
#define LOAD_LIBRARY_AS_IMAGE_RESOURCE 0x20u
#define LOAD_LIBRARY_AS_DATAFILE_EXCLUSIVE 0x40u

#define MAKEINTRESOURCEW(number) (reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(static_cast<WORD>(number))))
#define MAKEINTRESOURCE MAKEINTRESOURCEW
#define IS_INTRESOURCE(name) ((reinterpret_cast<ULONG_PTR>(name) >> 16) == 0)
#define MAKELANGID(primary, sub) static_cast<WORD>(((sub) << 10) | (primary))

#define RT_CURSOR MAKEINTRESOURCEW(1)
#define RT_BITMAP MAKEINTRESOURCEW(2)
#define RT_ICON MAKEINTRESOURCEW(3)
#define RT_MENU MAKEINTRESOURCEW(4)
#define RT_DIALOG MAKEINTRESOURCEW(5)
#define RT_STRING MAKEINTRESOURCEW(6)
#define RT_GROUP_CURSOR MAKEINTRESOURCEW(12)
#define RT_GROUP_ICON MAKEINTRESOURCEW(14)
#define RT_VERSION MAKEINTRESOURCEW(16)

#define GET_MODULE_HANDLE_EX_FLAG_PIN 0x1u
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 0x2u
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x4u

extern "C" {
/// Takes a reference, for FreeLibrary, on the module that is named; with FROM_ADDRESS on the one that the address
/// `name` lies in. PIN is not supported.
BOOL WINAPI GetModuleHandleExW(DWORD flags, LPCWSTR name, HMODULE* module);
/// Ends the calling thread, which CreateThread must have started, after a reference on the code that it runs has been
/// released. Objects in the thread's functions are not destroyed.
[[noreturn]] void WINAPI FreeLibraryAndExitThread(HMODULE module, DWORD exitCode);
/// With one of the flags above, a PE file whose resources are wanted and nothing else; without, LoadLibraryW.
HMODULE WINAPI LoadLibraryExW(LPCWSTR name, HANDLE reserved, DWORD flags);
/// A number's name may also be written "#123". The first language that has the resource; null with ERROR_MOD_NOT_FOUND
/// or the ERROR_RESOURCE_..._NOT_FOUND of what is missing.
HRSRC WINAPI FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type);
/// Language 0 means any.
HRSRC WINAPI FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language);
/// The bytes stay where they are until the module is freed.
HGLOBAL WINAPI LoadResource(HMODULE module, HRSRC resource);
LPVOID WINAPI LockResource(HGLOBAL resource);
DWORD WINAPI SizeofResource(HMODULE module, HRSRC resource);
/// Cut to the buffer, with its NUL; with a size of 0 `buffer` takes a pointer to the text in the module. 0 without
/// text.
int WINAPI LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int size);
}
