#include "host/monitors/lpr_session.h"

#include <algorithm>
#include <cstdio>

#include "platform/error_text.h"

namespace portwise {

namespace {

constexpr char kReceiveJob = 2;
constexpr char kReceiveControlFile = 2;
constexpr char kReceiveDataFile = 3;

constexpr DWORD kCommandTime = 30000;  // ms for the answer to a command
/// A printer that is its own daemon answers to the data when it has taken the job in, which may take its time.
constexpr DWORD kDataTime = 300000;  // ms

// The lengths that the protocol gives to names.
constexpr std::size_t kLongestComputer = 31;
constexpr std::size_t kLongestUser = 31;
constexpr std::size_t kLongestDocument = 99;

/// The text without what would end a line or a word of the protocol, cut between characters.
std::string Word(const std::string& text, std::size_t longest, const std::string& otherwise) {
  std::string word;
  for (char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    word += value <= ' ' || value == 0x7f ? '_' : byte;
  }
  if (word.size() > longest) {
    while (longest > 0 && (static_cast<unsigned char>(word[longest]) & 0xC0) == 0x80) --longest;
    word.resize(longest);
  }
  return word.empty() ? otherwise : word;
}

}  // namespace

std::string LprJob::FileName(char kind) const {
  char digits[8];
  std::snprintf(digits, sizeof digits, "%03u", static_cast<unsigned>(number % 1000));
  return std::string{kind} + "fA" + digits + Word(computer, kLongestComputer, "localhost");
}

std::string LprJob::ControlFile() const {
  const std::string data = FileName('d');
  return "H" + Word(computer, kLongestComputer, "localhost") + "\nP" + Word(user, kLongestUser, "unknown") + "\nJ" +
         Word(document, kLongestDocument, "document") + "\nl" + data + "\nU" + data + "\nN" +
         Word(document, kLongestDocument, "document") + "\n";
}

LprSession::LprSession(std::string host, DWORD port, JobWatch* watch)
    : host_(std::move(host)), port_(port), watch_(watch) {}

bool LprSession::Begin(const LprJob& job, std::optional<unsigned long long> size) {
  if (!socket_.Connect(host_, port_, watch_)) return FailWith("cannot be reached");
  const std::string control = job.ControlFile();
  const std::string controlCommand =
      kReceiveControlFile + std::to_string(control.size()) + " " + job.FileName('c') + "\n";
  const std::string dataCommand = kReceiveDataFile + std::to_string(size.value_or(0)) + " " + job.FileName('d') + "\n";
  return Transmit(kReceiveJob + job.queue + "\n", "the queue " + job.queue) &&
         Transmit(controlCommand, "the job's control file") &&
         Transmit(control + std::string(1, '\0'), "the job's control file") && Transmit(dataCommand, "the job's data");
}

bool LprSession::Send(const BYTE* data, DWORD size, DWORD milliseconds, DWORD* sent) {
  if (socket_.Send(data, size, milliseconds, watch_, sent)) return true;
  return FailWith("does not take the job's data");
}

bool LprSession::EndCounted() {
  const char end = 0;
  DWORD sent = 0;
  while (sent == 0) {
    if (!socket_.Send(&end, 1, kCommandTime, watch_, &sent) && GetLastError() != WSAETIMEDOUT)
      return FailWith("does not take the end of the job's data");
  }
  return AwaitWord("the job's data", kDataTime);
}

bool LprSession::EndUncounted() {
  if (!socket_.EndSending()) return FailWith("does not take the end of the job's data");
  return AwaitWord("the job's data", kDataTime, true);
}

bool LprSession::Transmit(const std::string& bytes, const std::string& what) {
  for (std::size_t done = 0; done < bytes.size();) {
    DWORD sent = 0;
    if (!socket_.Send(bytes.data() + done, static_cast<DWORD>(bytes.size() - done), kCommandTime, watch_, &sent))
      return FailWith("does not take " + what);
    done += sent;
  }
  return AwaitWord(what, kCommandTime);
}

bool LprSession::AwaitWord(const std::string& what, DWORD milliseconds, bool endCounts) {
  BYTE word = 0;
  DWORD received = 0;
  if (!socket_.Receive(&word, 1, milliseconds, watch_, &received)) return FailWith("does not answer about " + what);
  if (received == 0) {
    if (endCounts) return true;
    SetLastError(WSAECONNRESET);
    return FailWith("does not answer about " + what);
  }
  if (word == 0) return true;
  SetLastError(ERROR_PRINTQ_FULL);
  fault_ = host_ + " refused " + what + " (answer " + std::to_string(word) + ")";
  return false;
}

bool LprSession::FailWith(const std::string& what) {
  const DWORD error = GetLastError();
  fault_ = host_ + " " + what + ": " + platform::ErrorText(error);
  SetLastError(error);
  return false;
}

}  // namespace portwise
