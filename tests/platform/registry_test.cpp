#include <fcntl.h>
#include <gtest/gtest.h>
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
#include "platform/text.h"
#include "tests/support/files.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

namespace fs = std::filesystem;

class RegistryTest : public testing::Test {
 protected:
  ~RegistryTest() override { platform::SetRegistryBusyTimeout(5000); }

  /// A key that stays open, except where closing is what is tested.
  HKEY Create(LPCWSTR path, HKEY parent = HKEY_LOCAL_MACHINE) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(parent, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), ERROR_SUCCESS);
    return key;
  }
  LSTATUS Open(LPCWSTR path) {
    HKEY key = nullptr;
    const LSTATUS result = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key);
    if (result == ERROR_SUCCESS) RegCloseKey(key);
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
  DWORD size = 2;
  EXPECT_EQ(RegQueryValueExW(key, u"Value", nullptr, nullptr, buffer, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 3u);
  const std::string big(3 << 20, 'b');
  EXPECT_EQ(Set(key, u"Big", big), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueExW(key, u"Big", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, big.size());

  EXPECT_EQ(RegDeleteValueW(key, u"VALUE"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteValueW(key, u"Value"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
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
  EXPECT_EQ(Open(u"A\\B\\C"), ERROR_SUCCESS);

  // The handle stays dead when a key of the same name comes back.
  const HKEY writer = Create(u"A\\B\\C");
  EXPECT_EQ(Set(writer, u"v", "old"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, u"a\\b\\c"), ERROR_SUCCESS);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(Set(writer, u"v", "new"), ERROR_KEY_DELETED);
    EXPECT_EQ(RegDeleteValueW(writer, u"v"), ERROR_KEY_DELETED);
    EXPECT_EQ(Count(writer).result, ERROR_KEY_DELETED);
    EXPECT_EQ(Get(writer, u"v"), "error 1018");
    EXPECT_EQ(Get(Create(u"A\\B\\C"), u"v"), "error 2") << "values go with their key";
  }
  EXPECT_EQ(RegCloseKey(writer), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(writer), ERROR_INVALID_HANDLE);
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
  EXPECT_EQ(Get(key, u"v"), "error 1018") << "homes are apart";
}

TEST_F(RegistryTest, ProcessesAndThreadsLoseNothing) {
  constexpr int kCount = 200;
  const HKEY key = Create(u"Shared");
  const auto work = [&](char16_t who) {
    for (int i = 0; i < kCount; ++i) {
      const std::u16string name = std::u16string(1, who) + platform::ToUtf16(std::to_string(i));
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
        RegCloseKey(Create((u"Key" + platform::ToUtf16(std::to_string(i))).c_str(), key));
        Set(key, platform::ToUtf16(std::to_string(i)).c_str(), std::string(3000, 'x'));
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
      EXPECT_EQ(RegQueryValueExW(key, platform::ToUtf16(std::to_string(i)).c_str(), nullptr, nullptr, nullptr, &size),
                0);
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
    testing::internal::CaptureStderr();
    for (int call = 0; call < 3; ++call) {
      EXPECT_EQ(Open(u"Kept"), ERROR_BADDB);
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
