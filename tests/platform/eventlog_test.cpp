#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <map>

#include "platform/eventlog/event_reader.h"
#include "platform/eventlog/event_texts.h"
#include "platform/home.h"
#include "platform/kernel/modules.h"
#include "platform/registry/registry_control.h"
#include "platform/resources/message_table.h"
#include "platform/text.h"
#include "tests/support/files.h"
#include "tests/support/last_error.h"
#include "tests/support/temporary_home.h"

namespace portwise::platform {
namespace {

namespace fs = std::filesystem;

/// The message library of this build.
std::string MessageLibrary() { return ReadBytes(fs::path(LibraryFolder()) / "msgtable.dll"); }

HANDLE Register(LPCWSTR source) { return RegisterEventSourceW(nullptr, source); }

BOOL Report(HANDLE source, std::vector<LPCWSTR> strings, WORD type = EVENTLOG_ERROR_TYPE, std::string data = {}) {
  return ReportEventW(source, type, 0xFFFF, 0xC0FF0600, nullptr, static_cast<WORD>(strings.size()),
                      static_cast<DWORD>(data.size()), strings.data(), data.data());
}

std::vector<Event> Read(const EventFilter& filter = {}) {
  std::int64_t after = 0;
  std::vector<Event> events;
  EXPECT_EQ(ReadEvents(&after, filter, 1000000, &events), ERROR_SUCCESS);
  return events;
}

std::u16string TextOf(const char* log, const char* source, DWORD id, std::vector<std::u16string> strings) {
  Event event;
  event.log = log;
  event.source = source;
  event.id = id;
  event.strings = std::move(strings);
  return EventTexts().TextOf(event);
}

class EventLogTest : public testing::Test {
 protected:
  ~EventLogTest() override { SetRegistryBusyTimeout(5000); }

  /// A key of a source, with its message files when they are given.
  static void MakeSource(const std::u16string& path, LPCWSTR messageFiles = nullptr, DWORD type = REG_EXPAND_SZ) {
    HKEY key = nullptr;
    const std::u16string whole = u"SYSTEM\\CurrentControlSet\\Services\\Eventlog\\" + path;
    ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, whole.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), 0);
    if (messageFiles != nullptr) {
      const auto size = static_cast<DWORD>((std::u16string_view(messageFiles).size() + 1) * sizeof(WCHAR));
      RegSetValueExW(key, u"EventMessageFile", 0, type, reinterpret_cast<const BYTE*>(messageFiles), size);
    }
    RegCloseKey(key);
  }
  fs::path File() const { return home_.Path() / "registry.db"; }

  TemporaryHome home_;
};

TEST_F(EventLogTest, EntriesKeepWhatWasReported) {
  MakeSource(u"System\\Known");
  MakeSource(u"Application\\Other");
  EXPECT_TRUE(Read().empty()) << "a registry of before the first entry";
  const std::string data("r\0w", 3);
  for (const auto& [name, log] : {std::pair<LPCWSTR, const char*>{u"kNOWN", "System"},
                                  {u"Other", "Application"},
                                  {u"Nobody \u4E2D", "Application"}}) {
    const HANDLE source = Register(name);
    EXPECT_TRUE(Report(source, {u"one\r\n\u4E8C\xD800", u"", nullptr, u"last"}, EVENTLOG_WARNING_TYPE, data));
    EXPECT_TRUE(DeregisterEventSource(source));
    const Event event = Read().back();
    EXPECT_EQ(event.log, log);
    EXPECT_EQ(event.strings, (std::vector<std::u16string>{u"one\r\n\u4E8C\xD800", u"", u"", u"last"}));
    EXPECT_EQ(event.data, data);
    EXPECT_TRUE(event.type == EVENTLOG_WARNING_TYPE && event.category == 0xFFFF && event.id == 0xC0FF0600);
    EXPECT_EQ(event.process, static_cast<DWORD>(getpid()));
    // time() may be some milliseconds behind the clock of the entries.
    EXPECT_LE(std::abs(event.time / 1000 - time(nullptr)), 60) << event.time;
  }
  EXPECT_EQ(Read().back().source, "Nobody \u4E2D");
  EXPECT_EQ(Read({"NOBODY \u4E2D", 0}).size(), 1u);

  // Pages.
  const HANDLE source = Register(u"Known");
  for (int i = 0; i < 6; ++i) Report(source, {}, i % 2 ? EVENTLOG_ERROR_TYPE : EVENTLOG_INFORMATION_TYPE);
  EXPECT_EQ(Read({"known", EVENTLOG_ERROR_TYPE}).size(), 3u);
  std::int64_t after = 0;
  std::vector<Event> page;
  // Entries 4 and 6, entry 8, and none; what is not wanted is passed over.
  for (const auto& [size, next] : {std::pair{2u, 6}, {1u, 9}, {0u, 9}}) {
    EXPECT_EQ(ReadEvents(&after, {"", EVENTLOG_INFORMATION_TYPE}, 2, &page), ERROR_SUCCESS);
    EXPECT_TRUE(page.size() == size && after == next) << page.size() << ' ' << after;
  }
  DeregisterEventSource(source);
}

TEST_F(EventLogTest, ProcessesShareOneLog) {
  constexpr int kCount = 150;
  pid_t workers[2];
  for (pid_t& worker : workers) {
    if ((worker = fork()) != 0) continue;
    alarm(60);
    const HANDLE source = Register(u"Shared");
    for (int i = 0; i < kCount && Report(source, {ToUtf16(std::to_string(i)).c_str()}); ++i) {
    }
    _exit(0);
  }
  for (const pid_t worker : workers) waitpid(worker, nullptr, 0);
  std::int64_t record = 0;
  std::map<DWORD, int> counts;
  for (const Event& event : Read()) {
    EXPECT_EQ(event.record, ++record);
    EXPECT_EQ(event.strings, std::vector<std::u16string>{ToUtf16(std::to_string(counts[event.process]++))});
  }
  for (const pid_t worker : workers) EXPECT_EQ(counts[static_cast<DWORD>(worker)], kCount);
}

TEST_F(EventLogTest, TheOldestEntriesAreDropped) {
  const HANDLE source = Register(u"Source");
  EXPECT_TRUE(Report(source, {u"first"}));
  sqlite3* database = nullptr;
  sqlite3_open(File().c_str(), &database);
  sqlite3_exec(database,
               "WITH RECURSIVE n(i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM n WHERE i < 100001) INSERT INTO events "
               "SELECT i, 0, 'System', 'a', 'a', 1, 0, 0, 0, '', x'', x'' FROM n",
               nullptr, nullptr, nullptr);
  sqlite3_close(database);
  EXPECT_TRUE(Report(source, {u"last"}));
  const std::vector<Event> events = Read();
  EXPECT_EQ(events.size(), 100000u);
  EXPECT_EQ(events.front().record, 3);
  EXPECT_EQ(events.back().strings, std::vector<std::u16string>{u"last"});
  DeregisterEventSource(source);
}

TEST_F(EventLogTest, TextsComeFromTheMessageFile) {
  fs::create_directories(home_.Path() / "drive_c/Windows/System32");
  WriteBytes(home_.Path() / "drive_c/Windows/System32/msgtable.dll", MessageLibrary());
  MakeSource(u"System\\Expanded", u"C:\\none.dll;%SystemRoot%\\System32\\msgtable.dll");
  MakeSource(u"System\\Plain", u"%SystemRoot%\\System32\\msgtable.dll", REG_SZ);
  for (const DWORD id : {0x40000100u, 0x40FF0400u, 0x80000200u, 0x80FF0500u, 0xC0000300u, 0xC0FF0600u})
    EXPECT_EQ(TextOf("System", "Expanded", id, {u"100% %1", u"second"}), u"100% %1") << std::hex << id;
  EXPECT_EQ(TextOf("System", "Expanded", 2, {}), u"Printer");
  for (const DWORD id : {0u, 0x40000101u, 0x400000FFu, 0xFFFFFFFFu})
    EXPECT_EQ(TextOf("System", "Expanded", id, {u"a", u"b"}), u"a\r\nb") << std::hex << id;
  EXPECT_EQ(TextOf("System", "Plain", 0x40FF0400u, {u"a", u"b"}), u"a\r\nb") << "no variables in such a value";
}

/// What is read of a PE file: the first 100 units of a text.
std::u16string MessageOf(const fs::path& path) {
  const auto file = ResourceFile::Open(path);
  std::string_view table;
  std::u16string text;
  if (!file || !file->Find(kMessageTableType, WORD{1}, &table) || !FindMessage(table, 0xC0FF0600, &text))
    return u"none";
  return text.substr(0, 100);
}

TEST_F(EventLogTest, DamagedFilesLackTextsAndDoNothingWorse) {
  const fs::path path = home_.Path() / "file.dll";
  const std::string library = MessageLibrary();
  ASSERT_GT(library.size(), 1000u);
  WriteBytes(path, library);
  const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
  int sound = 0, lost = 0;
  const auto tryFile = [&] { (MessageOf(path) == u"%1\n" ? sound : lost) += 1; };
  for (std::size_t at = 0; at < library.size(); ++at) {
    for (const char flip : {'\xFF', '\x80', '\x01'}) {
      const char bad = static_cast<char>(library[at] ^ flip);
      ASSERT_EQ(pwrite(file, &bad, 1, static_cast<off_t>(at)), 1);
      tryFile();
    }
    ASSERT_EQ(pwrite(file, &library[at], 1, static_cast<off_t>(at)), 1);
  }
  EXPECT_GT(lost, 100);
  EXPECT_GT(sound, 1000) << "most bytes are padding";
  lost = 0;
  for (std::size_t size = library.size(); size-- > 0;) {
    ASSERT_EQ(ftruncate(file, static_cast<off_t>(size)), 0);
    tryFile();
  }
  EXPECT_GT(lost, 2000);
  close(file);
  fs::remove(path);
  EXPECT_EQ(ErrorOf(ResourceFile::Open(path) != nullptr), ERROR_FILE_NOT_FOUND);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(ErrorOf(ResourceFile::Open(path) != nullptr), ERROR_BAD_EXE_FORMAT);
}

}  // namespace
}  // namespace portwise::platform
