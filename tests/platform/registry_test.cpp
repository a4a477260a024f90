#include <aclapi.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sddl.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <functional>
#include <thread>
#include <vector>

#include "platform/registry/registry_control.h"
#include "tests/support/files.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

namespace fs = std::filesystem;

std::u16string Number(int number) {
  const std::string text = std::to_string(number);
  return {text.begin(), text.end()};
}

class RegistryTest : public testing::Test {
 protected:
  ~RegistryTest() override {
    platform::SetRegistryRole(platform::RegistryRole::Actual);
    platform::SetRegistryBusyTimeout(5000);
  }

  /// A key that stays open, except where closing is what is tested.
  HKEY Create(LPCWSTR path, HKEY parent = HKEY_LOCAL_MACHINE) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(parent, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), ERROR_SUCCESS);
    return key;
  }
  LSTATUS Open(LPCWSTR path, REGSAM access = KEY_READ, HKEY parent = HKEY_LOCAL_MACHINE) {
    HKEY key = nullptr;
    const LSTATUS result = RegOpenKeyExW(parent, path, 0, access, &key);
    if (result == ERROR_SUCCESS) {
      EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    }
    return result;
  }
  LSTATUS Set(HKEY key, LPCWSTR name, const std::string& data, DWORD type = REG_BINARY) {
    return RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(data.size()));
  }
  std::string Get(HKEY key, LPCWSTR name, DWORD expectedType = REG_BINARY) {
    char data[64];
    DWORD size = sizeof data, type = 0;
    if (const LSTATUS error = RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(data), &size)) {
      return "error " + std::to_string(error);
    }
    EXPECT_EQ(type, expectedType);
    return {data, size};
  }
  std::vector<std::u16string> SubKeys(HKEY key) {
    std::vector<std::u16string> names;
    WCHAR name[256];
    while (RegEnumKeyW(key, static_cast<DWORD>(names.size()), name, 256) == ERROR_SUCCESS) names.emplace_back(name);
    return names;
  }
  struct Counts {
    LSTATUS result;
    DWORD keys, values;
  };
  Counts Count(HKEY key) {
    Counts counts{};
    counts.result = RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &counts.keys, nullptr, nullptr, &counts.values,
                                     nullptr, nullptr, nullptr, nullptr);
    return counts;
  }
  DWORD SetList(HKEY key, LPCWSTR text, bool isProtected) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    EXPECT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1, &descriptor, nullptr));
    BOOL present = FALSE;
    PACL list = nullptr;
    EXPECT_TRUE(GetSecurityDescriptorDacl(descriptor, &present, &list, nullptr) && present);
    const DWORD mode = isProtected ? PROTECTED_DACL_SECURITY_INFORMATION : UNPROTECTED_DACL_SECURITY_INFORMATION;
    const DWORD result =
        SetSecurityInfo(key, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION | mode, nullptr, nullptr, list, nullptr);
    LocalFree(descriptor);
    return result;
  }
  /// Runs `body` in a child process, which ends without ceremony and after a minute at most; returns its id.
  pid_t Spawn(const std::function<void()>& body) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);
      body();
      _exit(HasFailure() ? 1 : 0);
    }
    return child;
  }
  int WaitFor(pid_t child) {
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
  }
  fs::path File() const { return home_.Path() / "registry.db"; }
  /// The first column of what a statement gives, read by a connection of our own.
  static std::string Sql(const char* path, const char* statement) {
    sqlite3* database = nullptr;
    std::string text;
    const auto append = [](void* out, int, char** row, char**) {
      *static_cast<std::string*>(out) += row[0];
      return 0;
    };
    sqlite3_open(path, &database);
    sqlite3_exec(database, statement, append, &text, nullptr);
    sqlite3_close(database);
    return text;
  }

  TemporaryHome home_;
};

TEST_F(RegistryTest, ValuesKeepTypeBytesAndCase) {
  const HKEY key = Create(u"Software\\Values");
  const std::string zeros("\0a\0", 3);
  for (const DWORD type : {REG_NONE, REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_DWORD, REG_MULTI_SZ, 0x80000001u}) {
    EXPECT_EQ(Set(key, u"Value", zeros, type), ERROR_SUCCESS);
    EXPECT_EQ(Get(key, u"vALUE", type), zeros);
  }
  EXPECT_EQ(Set(key, u"", "default"), ERROR_SUCCESS);
  EXPECT_EQ(Get(key, nullptr), "default");
  EXPECT_EQ(Set(key, u"Empty", ""), ERROR_SUCCESS);
  EXPECT_EQ(Get(key, u"Empty"), "");
  EXPECT_EQ(Set(key, u"\u00C4rger \u03A3\u4E2D\U0001F600", "folded"), ERROR_SUCCESS);
  EXPECT_EQ(Get(key, u"\u00E4RGER \u03C3\u4E2D\U0001F600"), "folded");
  EXPECT_EQ(Get(key, u"Missing"), "error 2");

  BYTE buffer[3];
  DWORD size = 2, type = 0;
  EXPECT_EQ(RegQueryValueExW(key, u"Value", nullptr, &type, buffer, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 3u);
  size = 0;
  EXPECT_EQ(RegQueryValueExW(key, u"Value", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(RegQueryValueExW(key, u"Value", nullptr, nullptr, buffer, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Set(key, std::u16string(16384, u'n').c_str(), "x"), ERROR_INVALID_PARAMETER);
  const std::string big(3 << 20, 'b');
  EXPECT_EQ(Set(key, u"Big", big), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueExW(key, u"Big", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, big.size());

  EXPECT_EQ(RegDeleteValueW(key, u"VALUE"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteValueW(key, u"Value"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
}

TEST_F(RegistryTest, EnumerationIsSortedAndRespectsBuffers) {
  const HKEY key = Create(u"Enumerated");
  for (LPCWSTR name : {u"beta", u"Alpha", u"alphabet", u"Gamma"}) {
    Create(name, key);
    EXPECT_EQ(Set(key, name, "12345"), ERROR_SUCCESS);
  }
  EXPECT_EQ(SubKeys(key), (std::vector<std::u16string>{u"Alpha", u"alphabet", u"beta", u"Gamma"}));
  EXPECT_EQ(SubKeys(HKEY_LOCAL_MACHINE), (std::vector<std::u16string>{u"Enumerated"}));
  WCHAR name[9];
  EXPECT_EQ(RegEnumKeyW(key, 1, name, 8), ERROR_MORE_DATA);
  EXPECT_EQ(RegEnumKeyW(key, 1, name, 9), ERROR_SUCCESS);
  EXPECT_EQ(RegEnumKeyW(key, 4, name, 9), ERROR_NO_MORE_ITEMS);

  DWORD nameSize = 8, type = 0, size = 4;
  BYTE data[5];
  EXPECT_EQ(RegEnumValueW(key, 1, name, &nameSize, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
  nameSize = 9;
  EXPECT_EQ(RegEnumValueW(key, 1, name, &nameSize, nullptr, &type, data, &size), ERROR_MORE_DATA);
  EXPECT_EQ(std::u16string_view(name, nameSize), u"alphabet");
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(RegEnumValueW(key, 4, name, &nameSize, nullptr, nullptr, nullptr, nullptr), ERROR_NO_MORE_ITEMS);

  DWORD keys = 0, longestKey = 0, values = 0, longestValue = 0, longestData = 0;
  FILETIME written{};
  EXPECT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &keys, &longestKey, nullptr, &values, &longestValue,
                             &longestData, nullptr, &written),
            ERROR_SUCCESS);
  EXPECT_EQ((std::vector<DWORD>{keys, longestKey, values, longestValue, longestData}),
            (std::vector<DWORD>{4, 8, 4, 8, 5}));
  // 2020 as a file time has this high half; the clock is later.
  EXPECT_GT(written.dwHighDateTime, 0x01D5BFFFu);
}

TEST_F(RegistryTest, KeysAreMadeWithTheirParentsAndDeletedAlone) {
  HKEY key = nullptr;
  DWORD disposition = 0;
  const auto create = [&](LPCWSTR path) {
    return RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_READ, nullptr, &key, &disposition);
  };
  EXPECT_EQ(create(u"A\\B\\C"), ERROR_SUCCESS);
  EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
  EXPECT_EQ(Set(key, u"v", "x"), ERROR_ACCESS_DENIED) << "opened for reading";
  EXPECT_EQ(create(u"a\\\\b\\c\\"), ERROR_SUCCESS);
  EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
  EXPECT_EQ(create((u"X\\" + std::u16string(256, u'k')).c_str()), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Open(u"X"), ERROR_FILE_NOT_FOUND) << "a failed creation must leave nothing";

  EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"A"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u""), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"A\\B\\None"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Open(u"A\\B\\C"), ERROR_SUCCESS);
  EXPECT_EQ(Open(nullptr, KEY_READ, key), ERROR_SUCCESS);

  // The handle stays dead when a key of the same name comes back.
  const HKEY writer = Create(u"A\\B\\C");
  EXPECT_EQ(Set(writer, u"v", "old"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"a\\b\\c"), ERROR_SUCCESS);
  for (int round = 0; round < 2; ++round) {
    WCHAR name[8];
    const LSTATUS results[] = {Set(writer, u"v", "new"),
                               RegDeleteValueW(writer, u"v"),
                               RegEnumKeyW(writer, 0, name, 8),
                               Open(u"", KEY_READ, writer),
                               static_cast<LSTATUS>(SetList(writer, u"D:", true)),
                               Count(writer).result};
    for (const LSTATUS result : results) EXPECT_EQ(result, ERROR_KEY_DELETED);
    EXPECT_EQ(Get(writer, u"v"), "error 1018");
    EXPECT_EQ(Get(Create(u"A\\B\\C"), u"v"), "error 2") << "values go with their key";
  }
  EXPECT_EQ(RegCloseKey(writer), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(writer), ERROR_INVALID_HANDLE);
  EXPECT_EQ(Get(writer, u"v"), "error 6");
  EXPECT_EQ(Open(u"A", KEY_READ, nullptr), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(HKEY_USERS), ERROR_SUCCESS);
}

TEST_F(RegistryTest, HomesAreApart) {
  const HKEY key = Create(u"Home");
  EXPECT_EQ(Set(key, u"v", "first"), ERROR_SUCCESS);
  {
    TemporaryHome other;
    EXPECT_EQ(Open(u"Home"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Get(key, u"v"), "error 1018");
  }
  EXPECT_EQ(Get(key, u"v"), "first");
  EXPECT_EQ(fs::status(File()).permissions(), static_cast<fs::perms>(0660));
}

TEST_F(RegistryTest, EveryWriteMakesANewVersion) {
  const HKEY key = Create(u"Version");
  EXPECT_EQ(Set(key, u"v", "first"), ERROR_SUCCESS);
  auto version = platform::CurrentRegistryVersion();
  EXPECT_EQ(Get(key, u"v"), "first");
  ASSERT_TRUE(version && platform::CurrentRegistryVersion() == version);
  EXPECT_EQ(Set(key, u"v", "second"), ERROR_SUCCESS);
  EXPECT_NE(std::exchange(version, platform::CurrentRegistryVersion()), platform::CurrentRegistryVersion());
  Sql(File().c_str(), "UPDATE entries SET data = x'00'");  // as another process would
  EXPECT_NE(platform::CurrentRegistryVersion(), version);
  TemporaryHome other;
  EXPECT_NE(platform::CurrentRegistryVersion(), version);
}

TEST_F(RegistryTest, AccessLists) {
  struct Case {
    LPCWSTR top;  // protected list of the top key
    LPCWSTR child;
    bool childProtected;
    REGSAM access;
    LSTATUS everyone, administrator;
  };
  const Case cases[] = {
      {u"D:(A;OICI;KR;;;WD)(A;OICI;KA;;;BA)", nullptr, false, KEY_READ, 0, 0},
      {u"D:(A;OICI;KR;;;WD)(A;OICI;KA;;;BA)", nullptr, false, KEY_READ | KEY_WRITE, 5, 0},
      {u"D:(A;OICI;KR;;;WD)(A;OICI;KA;;;BA)", nullptr, false, GENERIC_READ, 0, 0},
      {u"D:(A;OICI;KR;;;WD)", nullptr, false, KEY_ALL_ACCESS, 5, 5},
      {u"D:(A;OICI;KA;;;WD)", u"D:", false, KEY_ALL_ACCESS, 0, 0},
      {u"D:(A;OICI;KA;;;WD)", u"D:", true, KEY_QUERY_VALUE, 5, 5},
      {u"D:(A;;KA;;;WD)(A;OICI;KA;;;SY)", u"D:", false, KEY_READ, 5, 0},
      {u"D:(A;OICI;KA;;;SY)", u"D:(A;;KR;;;WD)", false, KEY_READ, 0, 0},
      {u"D:(A;OICIIO;KA;;;WD)", u"D:", false, KEY_ALL_ACCESS, 0, 0},
      {u"D:(D;OICI;0x2;;;WD)(A;OICI;KA;;;WD)", nullptr, false, KEY_SET_VALUE, 5, 5},
      {u"D:(D;OICI;0x2;;;WD)(A;OICI;KA;;;WD)", nullptr, false, KEY_READ, 0, 0},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &row - cases);
    TemporaryHome home;
    const HKEY child = Create(u"Top\\Child");
    EXPECT_EQ(SetList(Create(u"Top"), row.top, true), 0u);
    EXPECT_EQ(row.child ? SetList(child, row.child, row.childProtected) : 0u, 0u);
    platform::SetRegistryRole(platform::RegistryRole::Everyone);
    EXPECT_EQ(Open(u"Top\\Child", row.access), row.everyone);
    platform::SetRegistryRole(platform::RegistryRole::Actual);
    EXPECT_EQ(Open(u"Top\\Child", row.access), row.administrator);
  }
}

TEST_F(RegistryTest, AccessListsGuardCreationAndDeletion) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(u"D:(A;OICI;KR;;;WD)(A;OICI;KA;;;BA)", 1,
                                                                   &descriptor, nullptr));
  SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor, FALSE};
  HKEY key = nullptr;
  EXPECT_EQ(
      RegCreateKeyExW(HKEY_LOCAL_MACHINE, u"Outer\\Inner", 0, nullptr, 0, KEY_ALL_ACCESS, &attributes, &key, nullptr),
      ERROR_SUCCESS);
  LocalFree(descriptor);
  Create(u"Below", key);

  platform::SetRegistryRole(platform::RegistryRole::Everyone);
  EXPECT_EQ(Open(u"Outer", KEY_ALL_ACCESS), ERROR_SUCCESS) << "the descriptor is the new key's alone";
  EXPECT_EQ(Open(u"Outer\\Inner\\Below", KEY_WRITE), ERROR_ACCESS_DENIED) << "a later key inherits";
  EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, u"Outer\\Inner\\Two", 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr),
            ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"Outer\\Inner\\Below"), ERROR_ACCESS_DENIED);
  platform::SetRegistryRole(platform::RegistryRole::Actual);
  EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"Outer\\Inner\\Below"), ERROR_SUCCESS);

  for (LPCWSTR text : {u"D:(A;OICI;KR;;;XX)", u"D:(A;;QQ;;;WD)", u"D:(A;;KR;;WD)", u"D:(A;;KR;;;WD", u"D:A",
                       u"D:(A;;0x;;;WD)", u"D:(A;;KR;;;WD;)", u"nonsense"}) {
    EXPECT_FALSE(ConvertStringSecurityDescriptorToSecurityDescriptorW(text, 1, &descriptor, nullptr));
    EXPECT_TRUE(GetLastError() == ERROR_INVALID_PARAMETER || GetLastError() == ERROR_INVALID_ACL);
  }
  ACL broken{2, 0, sizeof(ACL), 1, 0};
  EXPECT_EQ(SetSecurityInfo(HKEY_USERS, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr, &broken, nullptr),
            static_cast<DWORD>(ERROR_INVALID_ACL));
}

TEST_F(RegistryTest, ProcessesAndThreadsLoseNothing) {
  constexpr int kCount = 200;
  const HKEY key = Create(u"Shared");
  const auto work = [&](char16_t who) {
    for (int i = 0; i < kCount; ++i) {
      const std::u16string name = std::u16string(1, who) + Number(i);
      EXPECT_EQ(Set(key, name.c_str(), std::to_string(i)), ERROR_SUCCESS);
      EXPECT_EQ(Get(key, name.c_str()), std::to_string(i));
      RegCloseKey(Create(name.c_str(), key));
    }
  };
  std::vector<pid_t> children;
  for (char16_t who = u'p'; who < u's'; ++who) children.push_back(Spawn([&, who] { work(who); }));
  std::thread threads[] = {std::thread(work, u't'), std::thread(work, u'u')};
  for (std::thread& thread : threads) thread.join();
  for (const pid_t child : children) EXPECT_EQ(WaitFor(child), 0);
  EXPECT_EQ(Count(key).values, 5u * kCount);
  EXPECT_EQ(Count(key).keys, 5u * kCount);
}

TEST_F(RegistryTest, AKilledWriterLeavesAPrefixOfItsWrites) {
  for (int round = 0; round < 8; ++round) {
    SCOPED_TRACE(round);
    TemporaryHome home;
    const HKEY key = Create(u"Written");
    const pid_t writer = Spawn([&] {
      for (int i = 0;; ++i) {
        RegCloseKey(Create((u"Key" + Number(i)).c_str(), key));
        Set(key, Number(i).c_str(), std::string(3000, 'x'));
      }
    });
    // Late enough to have written, and at another point of the work in each round.
    while (Count(key).result == ERROR_SUCCESS && Count(key).values < 40u * static_cast<DWORD>(round + 1)) {
    }
    kill(writer, SIGKILL);
    WaitFor(writer);
    const auto [result, keys, values] = Count(key);
    EXPECT_EQ(result, ERROR_SUCCESS);
    EXPECT_GE(values, 40u);
    EXPECT_TRUE(keys == values || keys == values + 1) << keys << " keys, " << values << " values";
    for (DWORD i = 0; i < values; ++i) {
      DWORD size = 0;
      EXPECT_EQ(RegQueryValueExW(key, Number(static_cast<int>(i)).c_str(), nullptr, nullptr, nullptr, &size), 0);
      EXPECT_EQ(size, 3000u);
    }
    EXPECT_EQ(Set(key, u"after", "x"), ERROR_SUCCESS);
    EXPECT_EQ(Sql((home.Path() / "registry.db").c_str(), "PRAGMA integrity_check"), "ok");
  }
}

TEST_F(RegistryTest, ADamagedFileIsRefusedAndKept) {
  // A sound file of many pages, left by a process that ended well.
  std::string sound;
  {
    TemporaryHome home;
    const HKEY key = Create(u"Kept");
    EXPECT_EQ(Set(key, u"v", std::string(100000, 'x')), ERROR_SUCCESS);
    WaitFor(Spawn([] {}));  // closes the connections, which brings the log back
    sound = ReadBytes(home.Path() / "registry.db");
    ASSERT_GT(sound.size(), 100000u);
  }
  const std::string scribbled = std::string(sound).replace(4096, 3 * 4096, 3 * 4096, '\x5a');
  for (const std::string& bytes : {std::string("not a database at all"), std::string(8192, '\0'), std::string(),
                                   sound.substr(0, sound.size() / 2), sound.substr(0, 50), scribbled}) {
    SCOPED_TRACE(bytes.size());
    TemporaryHome home;
    const fs::path file = home.Path() / "registry.db";
    WriteBytes(file, bytes);
    HKEY key = nullptr;
    testing::internal::CaptureStderr();
    for (int call = 0; call < 3; ++call) {
      EXPECT_EQ(Open(u"Kept"), ERROR_BADDB);
      EXPECT_EQ(RegCreateKeyExW(HKEY_USERS, u"k", 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr), ERROR_BADDB);
      EXPECT_EQ(Set(HKEY_LOCAL_MACHINE, u"v", "x"), ERROR_BADDB);
      EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"Kept"), ERROR_BADDB);
    }
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    EXPECT_NE(told.find(file.string()), std::string::npos) << told;
    EXPECT_NE(platform::RegistryFault().find(file.string()), std::string::npos);
    EXPECT_EQ(ReadBytes(file), bytes);
    WriteBytes(file, sound);
    EXPECT_EQ(Open(u"Kept"), ERROR_SUCCESS) << "a file that was put back is used again";
    EXPECT_EQ(platform::RegistryFault(), "");
  }

  // Damage that only one value meets stops everything from then on.
  {
    TemporaryHome home;
    WriteBytes(home.Path() / "registry.db", sound.substr(0, sound.size() / 2) + std::string(sound.size() / 2, '\x5a'));
    const HKEY key = Create(u"Kept");
    EXPECT_EQ(Get(key, u"v"), "error 1009");
    EXPECT_EQ(Open(u"Kept"), ERROR_BADDB);
    EXPECT_EQ(Set(key, u"w", "x"), ERROR_BADDB);
  }
  // A newer program's file, and a log whose file is gone.
  EXPECT_EQ(Open(u"Kept"), ERROR_FILE_NOT_FOUND);
  Sql(File().c_str(), "PRAGMA user_version = 2");
  EXPECT_EQ(WaitFor(Spawn([&] { EXPECT_EQ(Open(u"Kept"), ERROR_BADDB); })), 0);
  EXPECT_EQ(Sql(File().c_str(), "PRAGMA user_version"), "2");
  fs::remove(File());
  WriteBytes(File().string() + "-wal", "log");
  EXPECT_EQ(WaitFor(Spawn([&] { EXPECT_EQ(Open(u"Kept"), ERROR_BADDB); })), 0);
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(RegistryTest, ALockedFileFailsAndComesBack) {
  Create(u"Kept");
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t holder = Spawn([&] {
    const int file = open(File().c_str(), O_RDWR);
    struct flock whole {};
    whole.l_type = F_WRLCK;
    if (fcntl(file, F_SETLK, &whole) == 0) (void)!write(ready[1], "x", 1);
    close(ready[1]);
    pause();
  });
  close(ready[1]);
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  platform::SetRegistryBusyTimeout(50);
  EXPECT_EQ(Open(u"Kept"), ERROR_BUSY);
  EXPECT_NE(platform::RegistryFault().find("locked"), std::string::npos);
  kill(holder, SIGKILL);
  WaitFor(holder);
  close(ready[0]);
  EXPECT_EQ(Open(u"Kept"), ERROR_SUCCESS);
  EXPECT_EQ(platform::RegistryFault(), "");
}

TEST_F(RegistryTest, AFileWithoutRightsFails) {
  Create(u"Kept");
  {
    TemporaryHome home;
    fs::create_directory(home.Path() / "registry.db");
    EXPECT_EQ(Open(u"Kept"), ERROR_CANTOPEN);
    EXPECT_NE(platform::RegistryFault(), "");
  }
  const HKEY key = Create(u"Kept");
  chmod(home_.Path().c_str(), 0755);
  for (const mode_t mode : {0444, 0}) {
    chmod(File().c_str(), mode);
    const auto use = [&] {
      // Root may read and write everything.
      EXPECT_TRUE(geteuid() != 0 || setuid(65534) == 0);
      EXPECT_EQ(Set(key, u"v", "x"), mode == 0 ? ERROR_CANTOPEN : ERROR_CANTWRITE);
      EXPECT_NE(platform::RegistryFault(), "");
    };
    EXPECT_EQ(WaitFor(Spawn(use)), 0);
  }
  chmod(File().c_str(), 0660);
  EXPECT_EQ(Open(u"Kept"), ERROR_SUCCESS);
}

}  // namespace
}  // namespace portwise
