#pragma once

/// Threads, events, waits, locks, thread-local storage, modules, files, the environment and the last error.
///
/// Every call behaves as a Windows programmer expects of its name: it fails with the documented result and leaves
/// the documented value in the thread's last error. Calls that succeed leave the last error as it was, unless the
/// comment says otherwise.

#include <pthread.h>
#include <windef.h>
#include <winnt.h>

extern "C" {

// last error
DWORD WINAPI GetLastError();
void WINAPI SetLastError(DWORD error);

// handles
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))
/// Closes an event, a thread or a file. FALSE with ERROR_INVALID_HANDLE for anything that is not open.
BOOL WINAPI CloseHandle(HANDLE handle);

struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
};
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

// events and waits
#define INFINITE 0xFFFFFFFFu
#define WAIT_OBJECT_0 0u
#define WAIT_ABANDONED_0 0x80u
#define WAIT_FAILED 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64
HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL initialState, LPCWSTR name);
BOOL WINAPI SetEvent(HANDLE event);
BOOL WINAPI ResetEvent(HANDLE event);
DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds);
DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds);

// threads
#define STILL_ACTIVE 259u
/// For CreateThread: the stack size is all that the stack may grow to, instead of what it has at first.
#define STACK_SIZE_PARAM_IS_A_RESERVATION 0x10000u
using LPTHREAD_START_ROUTINE = DWORD(WINAPI*)(LPVOID);
HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize, LPTHREAD_START_ROUTINE start,
                           LPVOID parameter, DWORD flags, LPDWORD threadId);
BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exitCode);
DWORD WINAPI GetCurrentThreadId();
DWORD WINAPI GetCurrentProcessId();
HANDLE WINAPI GetCurrentProcess();

// processes
#define STARTF_USESHOWWINDOW 0x1u
#define CREATE_NO_WINDOW 0x8000000u
struct STARTUPINFOW {
  DWORD cb;
  LPWSTR lpReserved;
  LPWSTR lpDesktop;
  LPWSTR lpTitle;
  DWORD dwX;
  DWORD dwY;
  DWORD dwXSize;
  DWORD dwYSize;
  DWORD dwXCountChars;
  DWORD dwYCountChars;
  DWORD dwFillAttribute;
  DWORD dwFlags;
  WORD wShowWindow;
  WORD cbReserved2;
  LPBYTE lpReserved2;
  HANDLE hStdInput;
  HANDLE hStdOutput;
  HANDLE hStdError;
};
using LPSTARTUPINFOW = STARTUPINFOW*;
struct PROCESS_INFORMATION {
  HANDLE hProcess;
  HANDLE hThread;
  DWORD dwProcessId;
  DWORD dwThreadId;
};
using LPPROCESS_INFORMATION = PROCESS_INFORMATION*;
/// Notes the command, which "platform/windows/inspect.h" reads. "rundll32 LIBRARY,EXPORT ..." of a library that is
/// there is run, too, by the command line's program; other programs are those of Windows, which only look as if they
/// had been started and ended. The handles can be closed and waited for.
BOOL WINAPI CreateProcessW(LPCWSTR program, LPWSTR commandLine, LPSECURITY_ATTRIBUTES processSecurity,
                           LPSECURITY_ATTRIBUTES threadSecurity, BOOL inherit, DWORD flags, LPVOID environment,
                           LPCWSTR folder, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION process);

// time
/// Milliseconds of the platform's clock; wraps after 49.7 days.
DWORD WINAPI GetTickCount();
void WINAPI Sleep(DWORD milliseconds);
void WINAPI GetLocalTime(SYSTEMTIME* time);
void WINAPI GetSystemTime(SYSTEMTIME* time);

// critical sections: recursive, per process
struct CRITICAL_SECTION {
  pthread_mutex_t mutex;
};
using LPCRITICAL_SECTION = CRITICAL_SECTION*;
void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section);
void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section);
void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section);
BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION section);
void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section);

// thread-local storage
#define TLS_OUT_OF_INDEXES 0xFFFFFFFFu
DWORD WINAPI TlsAlloc();
BOOL WINAPI TlsFree(DWORD index);
/// Sets the last error to ERROR_SUCCESS when it succeeds, so that a stored null can be told from a failure.
LPVOID WINAPI TlsGetValue(DWORD index);
BOOL WINAPI TlsSetValue(DWORD index, LPVOID value);

// modules
#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3
/// A name without a folder is looked up among the system modules, then beside the platform library, then in the
/// system directory; "name.dll" stands for "libname.so".
HMODULE WINAPI LoadLibraryW(LPCWSTR name);
HMODULE WINAPI GetModuleHandleW(LPCWSTR name);
FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);
BOOL WINAPI FreeLibrary(HMODULE module);
DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD size);

// files
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define FILE_SHARE_READ 0x1u
#define FILE_SHARE_WRITE 0x2u
#define FILE_SHARE_DELETE 0x4u
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5
#define FILE_ATTRIBUTE_READONLY 0x1u
#define FILE_ATTRIBUTE_DIRECTORY 0x10u
#define FILE_ATTRIBUTE_NORMAL 0x80u
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define INVALID_FILE_SIZE 0xFFFFFFFFu
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2
struct OVERLAPPED;
HANDLE WINAPI CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                          DWORD attributes, HANDLE templateFile);
BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, OVERLAPPED* overlapped);
BOOL WINAPI WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD written, OVERLAPPED* overlapped);
BOOL WINAPI FlushFileBuffers(HANDLE file);
#define STD_INPUT_HANDLE static_cast<DWORD>(-10)
#define STD_OUTPUT_HANDLE static_cast<DWORD>(-11)
#define STD_ERROR_HANDLE static_cast<DWORD>(-12)
/// The process's standard stream, whatever its descriptor stands for at the moment. Not to be closed.
HANDLE WINAPI GetStdHandle(DWORD which);
BOOL WINAPI SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method);
BOOL WINAPI SetEndOfFile(HANDLE file);
BOOL WINAPI GetFileSizeEx(HANDLE file, PLARGE_INTEGER size);
BOOL WINAPI CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES security);
DWORD WINAPI GetFileAttributesW(LPCWSTR path);
BOOL WINAPI DeleteFileW(LPCWSTR path);
DWORD WINAPI GetTempPathW(DWORD size, LPWSTR path);
UINT WINAPI GetSystemDirectoryW(LPWSTR path, UINT size);

// environment and identity
#define MAX_COMPUTERNAME_LENGTH 15
/// The process's variables: a locked map of the platform's own, seeded from the process when first used; names are
/// compared without regard to case, and nothing is written back.
DWORD WINAPI GetEnvironmentVariableA(LPCSTR name, LPSTR buffer, DWORD size);
BOOL WINAPI SetEnvironmentVariableA(LPCSTR name, LPCSTR value);
BOOL WINAPI GetComputerNameW(LPWSTR name, LPDWORD size);

// memory and messages
#define LMEM_FIXED 0
#define LMEM_ZEROINIT 0x40
HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T bytes);
HLOCAL WINAPI LocalFree(HLOCAL memory);
#define MEM_COMMIT 0x1000u
typedef struct _MEMORY_BASIC_INFORMATION {
  PVOID BaseAddress;
  SIZE_T RegionSize;
  DWORD State;
} MEMORY_BASIC_INFORMATION;
/// Where the memory that can be read is around an address; 0 where there is none.
SIZE_T WINAPI VirtualQuery(LPCVOID address, MEMORY_BASIC_INFORMATION* region, SIZE_T size);
#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x100u
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x200u
#define FORMAT_MESSAGE_FROM_SYSTEM 0x1000u
/// Only FORMAT_MESSAGE_FROM_SYSTEM, with or without ALLOCATE_BUFFER and IGNORE_INSERTS. The text ends with CR LF.
DWORD WINAPI FormatMessageA(DWORD flags, LPCVOID source, DWORD messageId, DWORD languageId, LPSTR buffer, DWORD size,
                            void* arguments);

}  // extern "C"

// interlocked operations: full barriers
inline LONG InterlockedIncrement(volatile LONG* value) { return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST); }
inline LONG InterlockedDecrement(volatile LONG* value) { return __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST); }
inline LONG InterlockedExchange(volatile LONG* target, LONG value) {
  return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedExchangeAdd(volatile LONG* target, LONG value) {
  return __atomic_fetch_add(target, value, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedCompareExchange(volatile LONG* target, LONG value, LONG comparand) {
  __atomic_compare_exchange_n(target, &comparand, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
  return comparand;
}
inline PVOID InterlockedCompareExchangePointer(PVOID volatile* target, PVOID value, PVOID comparand) {
  __atomic_compare_exchange_n(target, &comparand, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
  return comparand;
}

struct COMMTIMEOUTS {
  DWORD ReadIntervalTimeout;
  DWORD ReadTotalTimeoutMultiplier;
  DWORD ReadTotalTimeoutConstant;
  DWORD WriteTotalTimeoutMultiplier;
  DWORD WriteTotalTimeoutConstant;
};
using LPCOMMTIMEOUTS = COMMTIMEOUTS*;
