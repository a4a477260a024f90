#pragma once

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "query/status_monitor.h"
#include "tests/support/fake_plugins.h"
#include "tests/support/fake_spooler.h"

namespace portwise {

/// What happened at a port, in order, each with its tick. Any thread.
class Journal {
 public:
  void Say(const std::string& word) {
    const std::lock_guard lock(mutex_);
    entries_.emplace_back(GetTickCount(), word);
  }
  void Clear() {
    const std::lock_guard lock(mutex_);
    entries_.clear();
  }
  std::vector<DWORD> Ticks(const std::string& word) const {
    const std::lock_guard lock(mutex_);
    std::vector<DWORD> ticks;
    for (const auto& [tick, said] : entries_) {
      if (said == word) ticks.push_back(tick);
    }
    return ticks;
  }
  size_t Count(const std::string& word) const { return Ticks(word).size(); }
  /// Those of `words` that were said, each behind a blank.
  std::string Only(const std::vector<std::string>& words) const {
    const std::lock_guard lock(mutex_);
    std::string text;
    for (const auto& [tick, said] : entries_) {
      if (std::find(words.begin(), words.end(), said) != words.end()) text += " " + said;
    }
    return text;
  }
  /// Until the word was said so often; false when it was not within that time.
  bool WaitFor(const std::string& word, size_t times = 1, DWORD milliseconds = 60000) const {
    for (const DWORD begin = GetTickCount(); Count(word) < times; Sleep(50)) {
      if (GetTickCount() - begin > milliseconds) return false;
    }
    return true;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::pair<DWORD, std::string>> entries_;
};

/// A printer that answers whatever it is sent with the same pieces, each some milliseconds after the one before.
class AnsweringConnection final : public Connection {
 public:
  using Pieces = std::vector<std::pair<DWORD, std::string>>;

  AnsweringConnection(Journal& journal, ConnectionKind kind) : Connection(kind), journal_(journal) {}

  std::atomic<bool> connected = true, refuses = false, refusesStatus = false, refusesPrint = false;

  void AnswerWith(Pieces pieces) {
    const std::lock_guard lock(mutex_);
    answer_ = std::move(pieces);
  }

  bool Open() override { return journal_.Say("open"), !refusesPrint; }
  bool OpenStatus() override { return journal_.Say("open-status"), !refusesStatus; }
  bool Close() override { return journal_.Say(KeepOpen() ? "close-keeping" : "close"), true; }
  bool Write(const void* data, DWORD length, DWORD* written) override {
    *written = refuses ? 0 : length;
    journal_.Say((CountsAsPrintData() ? "printed "
                  : refuses           ? "refused "
                                      : "sent ") +
                 std::string(static_cast<const char*>(data), length));
    const std::lock_guard lock(mutex_);
    pending_.assign(answer_.begin(), answer_.end());
    since_ = GetTickCount();
    return !refuses;
  }
  bool Read(void* buffer, DWORD size, DWORD* read) override {
    *read = 0;
    {
      const std::lock_guard lock(mutex_);
      if (!pending_.empty() && GetTickCount() - since_ >= pending_.front().first) {
        std::string& bytes = pending_.front().second;
        *read = std::min(size, static_cast<DWORD>(bytes.size()));
        std::copy_n(bytes.data(), *read, static_cast<char*>(buffer));
        bytes.erase(0, *read);
        if (bytes.empty()) {
          pending_.pop_front();
          since_ = GetTickCount();
        }
        return true;
      }
    }
    Sleep(20);
    return false;
  }
  bool SetTimeouts(const COMMTIMEOUTS&) override { return true; }
  DWORD GetStatus(DWORD mask) override { return connected ? 0 : mask & STATUS_DISCONNECTED; }

 private:
  Journal& journal_;
  std::mutex mutex_;
  Pieces answer_;  // under mutex_, as are the next two
  std::deque<Pieces::value_type> pending_;
  DWORD since_ = 0;
};

/// A plug-in whose answers tell their status: "2 7 t500 a90" is the code 2, the extra code 7, a threshold and the room;
/// "throw" is a fault of the plug-in.
class TellingPlugin final : public FakeMonitorInterface {
 public:
  explicit TellingPlugin(Journal& journal) : journal_(journal) {}

  std::atomic<DWORD> knownCode = 0;  ///< without a request; 0 when it knows none

  void Notify(PluginEvent event) override { journal_.Say("m" + std::to_string(static_cast<DWORD>(event))); }
  LONG ParseResponse(const void* data, DWORD length, PluginStatus* parsed) override {
    const LONG used = FakeMonitorInterface::ParseResponse(data, length, parsed);
    if (used > 0) *parsed = Parse(std::string(static_cast<const char*>(data), static_cast<size_t>(used)));
    return used;
  }
  bool StatusWithoutRequest(PluginStatus* told) override {
    *told = PluginStatus{PluginStatus::kCode, knownCode};
    return knownCode != 0;
  }

 private:
  static PluginStatus Parse(const std::string& line) {
    PluginStatus told;
    int extra = 0;
    if (line == "throw\n") throw std::runtime_error("a fault of the plug-in");
    std::istringstream text(line);
    for (std::string word; text >> word;) {
      const bool isLetter = word[0] == 't' || word[0] == 'a';
      const auto number = static_cast<DWORD>(std::stoul(word.substr(isLetter ? 1 : 0)));
      if (word[0] == 't') {
        told.threshold = number;
        told.flags |= PluginStatus::kThreshold;
      } else if (word[0] == 'a') {
        told.available = number;
        told.flags |= PluginStatus::kAvailable;
      } else if (!told.Has(PluginStatus::kCode)) {
        told.code = number;
        told.flags |= PluginStatus::kCode;
      } else {
        told.extraCodes[extra] = number;
        told.flags |= PluginStatus::kFirstExtraCode << extra++;
      }
    }
    return told;
  }

  Journal& journal_;
};

/// A port with its status monitor, and a printer of its own at it. The journal holds "load", "unload", "refresh",
/// "protocol", "begin" and "end" of documents, "status" with the codes that are published, "room" with threshold and
/// available bytes, what the connection does, and the notifications as "m22".
class FakeStatusPort final : public StatusHost {
 public:
  FakeStatusPort(FakeSpooler& spooler, std::string name, LONG mode, ConnectionKind kind = ConnectionKind::Tcp)
      : connection(journal, kind), spooler_(spooler), name_(std::move(name)) {
    spooler_.printers[name_] = {"IP_" + name_, "", {{"attributes", PRINTER_ATTRIBUTE_ENABLE_BIDI}}};
    settings.SetStatusMonitoringMode(mode);
  }

  Journal journal;
  AnsweringConnection connection;
  TellingPlugin plugin{journal};
  FakeProtocolInterface protocol;
  DriverSettings settings;
  StatusEvents events;
  std::atomic<int> failingLoads = 0;
  std::atomic<bool> refusesDocuments = false, firstWritePending = false, jobOpen = false, inJobData = false,
                    hasDocument = false;

  void SetBidirectional(bool on) {
    const DWORD attributes = on ? PRINTER_ATTRIBUTE_ENABLE_BIDI : 0;
    spooler_.Call({{{"op", "printer-set"}, {"name", name_}, {"access", 4}, {"attributes", attributes}}, {}});
  }
  void Set(const char* setting, DWORD value) { settings.Core().SetDword(setting, value); }

  OString JobPrinter() const override { return OString(name_.c_str()); }
  DriverSettings& SettingValues() override { return settings; }
  Connection& PrinterConnection() override { return connection; }
  StatusEvents& Events() override { return events; }
  MonitorInterface& Plugin() override { return plugin; }
  ProtocolInterface& Protocol() override { return protocol; }
  std::unique_ptr<OExceptionHandler> MakeGuard(const char* name) override {
    return std::make_unique<OExceptionHandler>(name, 0);
  }
  void Warn(const OString&) override {}
  bool LoadPlugin() override { return journal.Say("load"), failingLoads-- <= 0; }
  void UnloadPlugin() override { journal.Say("unload"); }
  void EnsureProtocolLoaded() override { journal.Say("protocol"); }
  void RefreshPrinter() override { journal.Say("refresh"); }
  OCriticalSection& DocumentLock() override { return documentLock_; }
  bool BeginStatusDocument() override { return journal.Say("begin"), !refusesDocuments; }
  bool HasDocument() const override { return hasDocument; }
  void EndStatusDocument() override { journal.Say("end"); }
  void Publish(const PrinterStatus& status) override {
    std::string word = "status";
    const auto codes = status.Codes();
    for (int i = 0; i < codes.Size(); ++i) word += " " + std::to_string(codes[i]);
    journal.Say(word);
  }
  void NoteReady() override {}
  void NoteSilence() override { journal.Say("silence"); }
  void TakeRoom(const PluginStatus& told) override {
    journal.Say("room " + std::to_string(told.threshold) + " " + std::to_string(told.available));
  }
  bool IsFirstWritePending() override { return firstWritePending; }
  bool IsJobOpen() override { return jobOpen; }
  bool IsInJobData() override { return inJobData; }

 private:
  FakeSpooler& spooler_;
  const std::string name_;
  OCriticalSection documentLock_;

 public:
  StatusMonitor monitor{*this};
};

}  // namespace portwise
