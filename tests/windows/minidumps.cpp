#include "tests/windows/minidumps.h"

#include <windows.h>

#include <dbghelp.h>

#include <atomic>
#include <string>

#include "platform/kernel/modules.h"
#include "tests/windows/stand_ins.h"

namespace portwise::platform {
namespace {

std::atomic<bool> whole = false;

BOOL WINAPI WriteDump(HANDLE process, DWORD id, HANDLE file, MINIDUMP_TYPE type,
                      PMINIDUMP_EXCEPTION_INFORMATION exception, PMINIDUMP_USER_STREAM_INFORMATION streams,
                      PMINIDUMP_CALLBACK_INFORMATION callback) {
  if (whole) {
    const auto write = SystemFunctionAs<decltype(MiniDumpWriteDump)>(L"dbghelp.dll", "MiniDumpWriteDump");
    return write(process, id, file, type, exception, streams, callback);
  }
  std::string head("MDMP");
  head.resize(200000);
  DWORD written = 0;
  return WriteFile(file, head.data(), static_cast<DWORD>(head.size()), &written, nullptr);
}

const bool replaced = [] {
  RegisterSystemModule("dbghelp.dll", {{"MiniDumpWriteDump", AsFarProc(WriteDump)}});
  return true;
}();

}  // namespace

WholeMinidumps::WholeMinidumps() { whole = true; }
WholeMinidumps::~WholeMinidumps() { whole = false; }

}  // namespace portwise::platform
