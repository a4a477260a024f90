#include "core/fault/minidump.h"

#include <windows.h>

#include <dbghelp.h>

#include <cstdio>

#include "core/folders.h"
#include "core/handles.h"
#include "core/synchronizer.h"

namespace portwise {
namespace {

using MiniDumpWriteDumpFunction = BOOL(WINAPI*)(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                                                PMINIDUMP_EXCEPTION_INFORMATION exception,
                                                PMINIDUMP_USER_STREAM_INFORMATION userStreams,
                                                PMINIDUMP_CALLBACK_INFORMATION callback);

constexpr int kNames = 10000;
constexpr auto kDumpType = static_cast<MINIDUMP_TYPE>(MiniDumpWithDataSegs | MiniDumpWithHandleData |
                                                      MiniDumpWithUnloadedModules | MiniDumpWithPrivateReadWriteMemory);
static_assert(kDumpType == 0x225);

// The debug library serves one thread at a time, and two dumps must not choose the same name.
OCriticalSection dumpLock;

unique_module LoadDebugLibrary(const OString& path) {
  unique_module library;
  if (!path.IsEmpty()) library.Reset(LoadLibraryW(path.Wide()));
  if (!library) library.Reset(LoadLibraryW(TEXT("dbghelp.dll")));
  return library;
}

MiniDumpWriteDumpFunction FindFunction(const unique_module& library) {
  const FARPROC function = library ? GetProcAddress(library.Get(), "MiniDumpWriteDump") : nullptr;
  return reinterpret_cast<MiniDumpWriteDumpFunction>(reinterpret_cast<void (*)()>(function));
}

OString DumpFolder() {
  const OString common = CommonApplicationDataFolder();
  if (common.IsEmpty()) return OString();
  OString folder = common + "\\Corvane\\Drivers\\Dump";
  return CreateFolder(folder) ? folder : OString();
}

bool CanBeRead(const OString& path) {
  const unique_handle file(CreateFileW(path.Wide(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  return static_cast<bool>(file);
}

/// Empty when all names are taken.
OString FreeName(const OString& folder) {
  for (int number = 0; number < kNames; ++number) {
    char name[32];
    std::snprintf(name, sizeof name, "\\faultdump_%04d.dmp", number);
    OString path = folder + name;
    if (!CanBeRead(path)) return path;
  }
  return OString();
}

}  // namespace

bool WriteMinidump(const OString& debugLibrary, EXCEPTION_POINTERS* exceptionPointers, OString* path) {
  const OScopedLock lock(dumpLock);
  const unique_module library = LoadDebugLibrary(debugLibrary);
  const auto writeDump = FindFunction(library);
  if (!writeDump) return false;
  const OString folder = DumpFolder();
  const OString name = folder.IsEmpty() ? OString() : FreeName(folder);
  if (name.IsEmpty()) return false;
  const unique_handle file(CreateFileW(name.Wide(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  *path = name;
  MINIDUMP_EXCEPTION_INFORMATION exception = {};
  exception.ThreadId = GetCurrentThreadId();
  exception.ExceptionPointers = exceptionPointers;
  exception.ClientPointers = TRUE;
  return writeDump(GetCurrentProcess(), GetCurrentProcessId(), file.Get(), kDumpType, &exception, nullptr, nullptr) !=
         FALSE;
}

}  // namespace portwise
