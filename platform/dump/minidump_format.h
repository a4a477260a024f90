#pragma once

/// The minidump format, as the Windows SDK publishes it (MINIDUMP_HEADER and its kin): little-endian records packed to
/// four bytes. Places in the file are counted from its start.

#include <windows.h>

namespace portwise::platform {

constexpr DWORD kDumpSignature = 0x504D444D;  // "MDMP"
constexpr DWORD kDumpVersion = 0xA793;
constexpr WORD kProcessorAmd64 = 9;
// Outside the numbers of Windows systems, where readers of dumps expect Linux.
constexpr DWORD kPlatformLinux = 0x8201;
// "BpEL": the code-view record of an ELF image, followed by its build id.
constexpr DWORD kCodeViewElf = 0x4270454C;

enum class DumpStream : DWORD {
  kThreadList = 3,
  kModuleList = 4,
  kException = 6,
  kSystemInfo = 7,
  kMemory64List = 9,
  kHandleData = 12,
  kUnloadedModuleList = 14,
  kMiscInfo = 15,
};

#pragma pack(push, 4)

struct DumpLocation {
  DWORD size;
  DWORD place;
};

struct DumpDirectoryEntry {
  DWORD type;
  DumpLocation location;
};

struct DumpHeader {
  DWORD signature;
  DWORD version;
  DWORD streamCount;
  DWORD directory;
  DWORD checkSum;
  DWORD time;  // seconds since 1970
  DWORD64 type;
};

struct DumpThread {
  DWORD id;
  DWORD suspendCount;
  DWORD priorityClass;
  DWORD priority;
  DWORD64 environmentBlock;
  DWORD64 stackStart;
  DumpLocation stack;
  DumpLocation context;
};
static_assert(sizeof(DumpThread) == 48);

struct DumpModule {
  DWORD64 base;
  DWORD size;
  DWORD checkSum;
  DWORD time;
  DWORD name;
  DWORD version[13];
  DumpLocation codeView;
  DumpLocation miscellaneous;
  DWORD64 reserved[2];
};
static_assert(sizeof(DumpModule) == 108);

struct DumpException {
  DWORD thread;
  DWORD alignment;
  DWORD code;
  DWORD flags;
  DWORD64 record;
  DWORD64 address;
  DWORD parameterCount;
  DWORD unused;
  DWORD64 information[EXCEPTION_MAXIMUM_PARAMETERS];
  DumpLocation context;
};
static_assert(sizeof(DumpException) == 168);

struct DumpSystemInfo {
  WORD architecture;
  WORD level;
  WORD revision;
  BYTE processorCount;
  BYTE productType;
  DWORD majorVersion;
  DWORD minorVersion;
  DWORD build;
  DWORD platform;
  DWORD versionText;
  WORD suites;
  WORD reserved;
  DWORD64 processorFeatures[3];
};
static_assert(sizeof(DumpSystemInfo) == 56);

struct DumpMiscInfo {
  DWORD size;
  DWORD flags;  // 1: the process id is valid
  DWORD processId;
  DWORD createTime;
  DWORD userTime;
  DWORD kernelTime;
};

struct DumpHandleList {
  DWORD headerSize;
  DWORD entrySize;
  DWORD count;
  DWORD reserved;
};

struct DumpHandle {
  DWORD64 handle;
  DWORD typeName;
  DWORD objectName;
  DWORD attributes;
  DWORD access;
  DWORD handleCount;
  DWORD pointerCount;
};

struct DumpUnloadedModules {
  DWORD headerSize;
  DWORD entrySize;
  DWORD count;
};

struct DumpMemoryList {
  DWORD64 count;
  DWORD64 place;  // of the first range's bytes; those of the others follow
};

struct DumpMemoryRange {
  DWORD64 start;
  DWORD64 size;
};

#pragma pack(pop)

}  // namespace portwise::platform
