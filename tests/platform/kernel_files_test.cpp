#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>
#include <thread>

#include "core/handles.h"
#include "platform/home.h"
#include "platform/kernel/modules.h"
#include "platform/text.h"
#include "tests/support/files.h"
#include "tests/support/last_error.h"
#include "tests/support/temporary_home.h"

namespace portwise::platform {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kRead = GENERIC_READ, kWrite = GENERIC_WRITE;
constexpr DWORD kShareRead = FILE_SHARE_READ, kShareWrite = FILE_SHARE_WRITE, kShareAll = 7;

/// Each test has a home of its own.
class HomeTest : public testing::Test {
 protected:
  static unique_handle Open(LPCWSTR path, DWORD access, DWORD share, DWORD disposition) {
    SetLastError(0);
    return unique_handle(CreateFileW(path, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
  }
  static void Fill(LPCWSTR path, const std::string& text) { WriteBytes(LinuxPath(path), text); }
  static std::string Contents(LPCWSTR path) { return ReadBytes(LinuxPath(path)); }

  TemporaryHome home_;
};

using Paths = HomeTest;
using Files = HomeTest;
using Modules = HomeTest;

TEST_F(Paths, MapBetweenDriveCAndLinux) {
  const std::string drive = (home_.Path() / "drive_c").string();
  const struct {
    std::u16string windows;
    std::string linux;
  } kRows[] = {
      {u"C:\\a\\b.txt", drive + "/a/b.txt"},
      {u"c:/a//b\\", drive + "/a/b"},
      {u"C:", drive},
      {u"C:\\..\\..\\etc\\x", drive + "/etc/x"},
      {u"\\a", drive + "/a"},
      {u"D:\\a", ""},
      {u"/etc/a\\b", "/etc/a/b"},
      {u"C:\\\u00fc\U0001F4C4", drive + "/\u00fc\U0001F4C4"},
  };
  for (const auto& row : kRows) EXPECT_EQ(LinuxPath(row.windows), row.linux) << ToUtf8(row.windows);
  EXPECT_EQ(WindowsPath(drive + "/a/b"), u"C:\\a\\b");
  EXPECT_EQ(WindowsPath(drive + "x/a"), ToUtf16(drive + "x/a"));
}

TEST_F(Files, DispositionsSayWhatTheyFound) {
  const auto folder = home_.Path() / "drive_c";
  LinuxPath(u"C:\\");
  ASSERT_TRUE(CreateDirectoryW(u"C:\\folder", nullptr));
  const struct {
    LPCWSTR path;
    DWORD disposition, access;
    DWORD error;  // of a success too
    bool opens;
    const char* after;  // the file's contents
  } kRows[] = {
      {u"C:\\old", CREATE_NEW, kWrite, ERROR_FILE_EXISTS, false, "1234"},
      {u"C:\\new", CREATE_NEW, kWrite, 0, true, ""},
      {u"C:\\old", CREATE_ALWAYS, kWrite, ERROR_ALREADY_EXISTS, true, ""},
      {u"C:\\old", OPEN_EXISTING, kRead | kWrite, 0, true, "1234"},
      {u"C:\\new", OPEN_EXISTING, kRead, ERROR_FILE_NOT_FOUND, false, ""},
      {u"C:\\old", OPEN_ALWAYS, kRead, ERROR_ALREADY_EXISTS, true, "1234"},
      {u"C:\\new", OPEN_ALWAYS, kWrite, 0, true, ""},
      {u"C:\\old", TRUNCATE_EXISTING, kWrite, 0, true, ""},
      {u"C:\\none\\new", CREATE_ALWAYS, kWrite, ERROR_PATH_NOT_FOUND, false, ""},
      {u"C:\\folder", OPEN_EXISTING, kRead, ERROR_ACCESS_DENIED, false, ""},
      {u"C:\\fixed", OPEN_EXISTING, kWrite, ERROR_ACCESS_DENIED, false, "5"},
      {u"C:\\fixed", OPEN_EXISTING, kRead, 0, true, "5"},
  };
  Fill(u"C:\\fixed", "5");
  fs::permissions(folder / "fixed", fs::perms::owner_read);
  for (const auto& row : kRows) {
    Fill(u"C:\\old", "1234");
    fs::remove(folder / "new");
    const unique_handle file = Open(row.path, row.access, 0, row.disposition);
    const auto what = ToUtf8(row.path) + " disposition " + std::to_string(row.disposition);
    EXPECT_EQ(GetLastError(), row.error) << what;
    EXPECT_EQ(bool{file}, row.opens) << what;
    EXPECT_EQ(Contents(row.path), row.after) << what;
  }
}

TEST_F(Files, ShareModesHoldBetweenTheHandlesOfTheProcess) {
  const struct {
    DWORD firstAccess, firstShare, access, share;
    bool opens;
  } kRows[] = {
      {kRead, kShareRead, kRead, kShareRead, true},
      {kRead, 0, kRead, kShareAll, false},
      {kRead, kShareRead, kWrite, kShareAll, false},
      {kWrite, kShareRead, kRead, kShareRead, false},  // the second does not share the first one's access
      {kWrite, kShareRead, kRead, kShareRead | kShareWrite, true},
      {kWrite, 0, 0, 0, true},  // neither read nor written: no conflict
  };
  LinuxPath(u"C:\\");
  for (const auto& row : kRows) {
    Fill(u"C:\\shared", "1234");
    unique_handle first = Open(u"C:\\shared", row.firstAccess, row.firstShare, OPEN_EXISTING);
    const auto opens = [&] { return bool{Open(u"C:\\shared", row.access, row.share, OPEN_EXISTING)}; };
    SCOPED_TRACE(&row - kRows);
    EXPECT_EQ(opens(), row.opens);
    EXPECT_EQ(GetLastError(), row.opens ? 0 : DWORD{ERROR_SHARING_VIOLATION});
    first.Reset();
    EXPECT_TRUE(opens());
  }
  unique_handle reader = Open(u"C:\\shared", kRead, kShareRead, OPEN_EXISTING);
  EXPECT_FALSE(Open(u"C:\\shared", kRead, kShareAll, CREATE_ALWAYS));
  EXPECT_EQ(Contents(u"C:\\shared"), "1234") << "a refused handle emptied the file";
  EXPECT_EQ(ErrorOf(DeleteFileW(u"C:\\shared")), ERROR_SHARING_VIOLATION);
  reader.Reset();
  EXPECT_TRUE(DeleteFileW(u"C:\\shared"));
  EXPECT_EQ(ErrorOf(DeleteFileW(u"C:\\shared")), ERROR_FILE_NOT_FOUND);
}

TEST_F(Files, ReadWriteAndMove) {
  LinuxPath(u"C:\\");
  const unique_handle file = Open(u"C:\\data", kRead | kWrite, kShareAll, CREATE_NEW);
  char buffer[16] = "0123456789";
  DWORD done = 99;
  EXPECT_TRUE(WriteFile(file.Get(), buffer, 10, &done, nullptr));
  EXPECT_EQ(done, 10u);
  EXPECT_TRUE(ReadFile(file.Get(), buffer, 10, &done, nullptr));
  EXPECT_EQ(done, 0u) << "the end of the file is no failure";
  LARGE_INTEGER distance, position{};
  distance.QuadPart = -4;
  EXPECT_TRUE(SetFilePointerEx(file.Get(), distance, &position, FILE_END));
  EXPECT_EQ(position.QuadPart, 6);
  EXPECT_TRUE(ReadFile(file.Get(), buffer, sizeof buffer, &done, nullptr));
  EXPECT_EQ(std::string(buffer, done), "6789");
  distance.QuadPart = 3;
  EXPECT_TRUE(SetFilePointerEx(file.Get(), distance, nullptr, FILE_BEGIN));
  EXPECT_TRUE(SetEndOfFile(file.Get()));
  EXPECT_EQ(Contents(u"C:\\data"), "012");
  const unique_handle full = Open(u"/dev/full", kWrite, kShareAll, OPEN_EXISTING);
  EXPECT_EQ(ErrorOf(WriteFile(full.Get(), "x", 1, &done, nullptr)), ERROR_DISK_FULL);
  EXPECT_EQ(ErrorOf(CreateDirectoryW(u"C:\\a\\b", nullptr)), ERROR_PATH_NOT_FOUND);
  EXPECT_TRUE(CreateDirectoryW(u"C:\\a", nullptr));
  EXPECT_EQ(ErrorOf(CreateDirectoryW(u"C:\\a", nullptr)), ERROR_ALREADY_EXISTS);
}

template <class Function>
Function FunctionOf(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

std::string DllLog() {
  char log[256] = "";
  GetEnvironmentVariableA("DLL_LOG", log, sizeof log);
  SetEnvironmentVariableA("DLL_LOG", nullptr);
  return log;
}

TEST_F(Modules, ALibrarysDllMainHearsOfEverything) {
  DllLog();  // what another test may have left
  const HMODULE library = LoadLibraryW(u"detach-library.dll");
  ASSERT_TRUE(library) << GetLastError();
  EXPECT_EQ(DllLog(), "A:ready;") << "the static objects come first";
  EXPECT_EQ(LoadLibraryW(u"libdetach-library.so"), library);
  EXPECT_EQ(GetModuleHandleW(u"Detach-Library.DLL"), library);
  const auto instance = FunctionOf<HINSTANCE (*)()>(library, "Instance");
  const auto setText = FunctionOf<void (*)(const char*)>(library, "SetThreadText");
  ASSERT_TRUE(instance && setText);
  EXPECT_EQ(instance(), library);
  std::thread([&] { setText("plain"); }).join();
  EXPECT_EQ(DllLog(), "T:plain;");
  std::thread([] {}).join();
  EXPECT_EQ(DllLog(), "");
  const auto start = +[](LPVOID function) -> DWORD {
    reinterpret_cast<void (*)(const char*)>(function)("created");
    return 0;
  };
  const unique_handle thread(CreateThread(nullptr, 0, start, reinterpret_cast<void*>(setText), 0, nullptr));
  EXPECT_EQ(WaitForSingleObject(thread.Get(), 20'000), WAIT_OBJECT_0);
  EXPECT_EQ(DllLog(), "T:created;") << "a thread has ended only after the libraries know";

  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_EQ(DllLog(), "");
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_EQ(DllLog(), "D:free;");
  EXPECT_FALSE(FreeLibrary(library));
  EXPECT_EQ(ErrorOf(GetProcAddress(library, "Instance")), ERROR_MOD_NOT_FOUND);

  for (const LPCSTR failure : {"DLL_REFUSE", "DLL_THROW"}) {
    SetEnvironmentVariableA(failure, "1");
    EXPECT_EQ(ErrorOf(LoadLibraryW(u"detach-library.dll")), ERROR_DLL_INIT_FAILED);
    SetEnvironmentVariableA(failure, nullptr);
    EXPECT_EQ(GetModuleHandleW(u"detach-library.dll"), nullptr);
  }
  EXPECT_EQ(DllLog(), "");
}

TEST_F(Modules, AThreadMayHoldItsLibraryAndFreeItWithItsLastStep) {
  DllLog();
  const HMODULE library = LoadLibraryW(u"detach-library.dll");
  ASSERT_TRUE(library);
  const auto start = FunctionOf<HANDLE (*)(HANDLE)>(library, "StartHolder");
  const unique_handle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const unique_handle thread(start(event.Get()));
  EXPECT_EQ(WaitForSingleObject(thread.Get(), 50), DWORD{WAIT_TIMEOUT});
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_EQ(DllLog(), "A:ready;") << "it is still held";
  SetEvent(event.Get());
  EXPECT_EQ(WaitForSingleObject(thread.Get(), 20'000), WAIT_OBJECT_0);
  DWORD code = 0;
  EXPECT_TRUE(GetExitCodeThread(thread.Get(), &code));
  EXPECT_EQ(code, 7u);
  EXPECT_EQ(DllLog(), "D:free;");
  EXPECT_FALSE(FreeLibrary(library));
}

TEST_F(Modules, AreFoundWhereWindowsWouldFindThem) {
  const auto system = home_.Path() / "drive_c/Windows/System32";
  GetSystemDirectoryW(nullptr, 0);
  fs::copy(fs::path(LibraryFolder()) / "libdetach-library.so", system / "libcopied.so");
  std::ofstream(system / "text.dll") << "no library";
  for (const LPCWSTR name :
       {u"copied.dll", u"C:\\Windows\\System32\\copied.dll", u"C:/Windows/System32/libcopied.so"}) {
    const HMODULE library = LoadLibraryW(name);
    ASSERT_TRUE(library) << ToUtf8(name);
    WCHAR path[MAX_PATH];
    GetModuleFileNameW(library, path, MAX_PATH);
    EXPECT_EQ(ToUtf8(path), "C:\\Windows\\System32\\libcopied.so");
    EXPECT_EQ(GetModuleHandleW(name), library);
    // A function of a library that it depends on is not its own.
    EXPECT_EQ(ErrorOf(GetProcAddress(library, "GetTickCount")), ERROR_PROC_NOT_FOUND);
    EXPECT_TRUE(FreeLibrary(library));
  }
  EXPECT_EQ(ErrorOf(LoadLibraryW(u"none.dll")), ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(ErrorOf(LoadLibraryW(u"text.dll")), ERROR_BAD_EXE_FORMAT);
  WCHAR path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  EXPECT_EQ(ToUtf8(path), fs::read_symlink("/proc/self/exe"));
  EXPECT_EQ(GetModuleHandleW(nullptr), GetModuleHandleW(path));
}

}  // namespace
}  // namespace portwise::platform
