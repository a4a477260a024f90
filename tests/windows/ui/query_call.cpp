#include "tests/windows/ui/query_call.h"

#include <winspool.h>

#include <atomic>
#include <cstring>
#include <string_view>
#include <thread>

namespace portwise::test {
namespace {

std::atomic<DWORD> jobStatus = JOB_STATUS_SPOOLING;
std::atomic<DWORD> jobPriority = 0;
HMODULE library = nullptr;
std::wstring commandLine;
HANDLE dialog = nullptr;

BOOL WINAPI GetJobHere(HANDLE, DWORD id, DWORD, LPBYTE data, DWORD size, LPDWORD needed) {
  *needed = sizeof(JOB_INFO_1W);
  if (size < sizeof(JOB_INFO_1W)) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  JOB_INFO_1W info = {};
  info.JobId = id;
  info.Status = jobStatus;
  info.Priority = jobPriority;
  std::memcpy(data, &info, sizeof info);
  return TRUE;
}

BOOL WINAPI SetJobHere(HANDLE, DWORD, DWORD level, LPBYTE data, DWORD command) {
  if (level == 1) jobPriority = reinterpret_cast<JOB_INFO_1W*>(data)->Priority;
  if (command == JOB_CONTROL_DELETE) jobStatus = JOB_STATUS_DELETING;
  return TRUE;
}

template <class Type>
Type* At(DWORD offset) {
  return reinterpret_cast<Type*>(reinterpret_cast<BYTE*>(library) + offset);
}

/// Lets the library call `function` where it has imported another one.
bool Redirect(std::string_view name, void* function) {
  const auto* headers = At<IMAGE_NT_HEADERS>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
  const auto& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (auto* module = At<IMAGE_IMPORT_DESCRIPTOR>(imports.VirtualAddress); module->Name; ++module) {
    auto* names = At<IMAGE_THUNK_DATA>(module->OriginalFirstThunk);
    auto* addresses = At<IMAGE_THUNK_DATA>(module->FirstThunk);
    for (; names->u1.AddressOfData; ++names, ++addresses) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      const auto* import = At<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(names->u1.AddressOfData));
      if (name != reinterpret_cast<const char*>(import->Name)) continue;
      DWORD protection = 0;
      VirtualProtect(addresses, sizeof *addresses, PAGE_READWRITE, &protection);
      addresses->u1.Function = reinterpret_cast<ULONG_PTR>(function);
      return true;
    }
  }
  return false;
}

DWORD WINAPI CallQuery(void*) {
  using Query = int(CALLBACK*)(HWND owner, LPCWSTR commandLine);
  const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(GetProcAddress(library, "Query")));
  return query ? static_cast<DWORD>(query(nullptr, commandLine.c_str())) : 99;
}

}  // namespace

bool BeginQuery(const std::wstring& printer, DWORD job) {
  if (!library) {
    library = LoadLibraryW(L"portwise.dll");
    if (!library || !Redirect("GetJobW", reinterpret_cast<void*>(GetJobHere)) ||
        !Redirect("SetJobW", reinterpret_cast<void*>(SetJobHere)))
      return false;
  }
  jobStatus = JOB_STATUS_SPOOLING;
  jobPriority = 0;
  commandLine = L"open \"" + printer + L"\" -ji " + std::to_wstring(job);
  dialog = CreateThread(nullptr, 0, CallQuery, nullptr, 0, nullptr);
  return dialog != nullptr;
}

bool SetQueryJob(DWORD status) {
  jobStatus = status;
  return dialog != nullptr;
}

std::wstring QueryResult(DWORD patience) {
  if (!dialog || WaitForSingleObject(dialog, patience) != WAIT_OBJECT_0) return L"still shown";
  DWORD result = 0;
  GetExitCodeThread(dialog, &result);
  CloseHandle(dialog);
  dialog = nullptr;
  return std::to_wstring(result) + L" priority " + std::to_wstring(jobPriority) +
         (jobStatus == JOB_STATUS_DELETING ? L" deleted" : L"");
}

}  // namespace portwise::test
