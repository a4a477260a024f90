#pragma once

/// Minidumps. MiniDumpWriteDump is looked up in "dbghelp.dll" at run time.

#include <windows.h>

enum MINIDUMP_TYPE {
  MiniDumpNormal = 0,
  MiniDumpWithDataSegs = 0x1,
  MiniDumpWithHandleData = 0x4,
  MiniDumpWithUnloadedModules = 0x20,
  MiniDumpWithPrivateReadWriteMemory = 0x200,
};

struct __attribute__((packed, aligned(4))) MINIDUMP_EXCEPTION_INFORMATION {
  DWORD ThreadId;
  PEXCEPTION_POINTERS ExceptionPointers;
  BOOL ClientPointers;
};
using PMINIDUMP_EXCEPTION_INFORMATION = MINIDUMP_EXCEPTION_INFORMATION*;
using PMINIDUMP_USER_STREAM_INFORMATION = void*;
using PMINIDUMP_CALLBACK_INFORMATION = void*;
