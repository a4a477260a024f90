#include "monitor/diagnostics.h"

#include <string>

#include "core/file.h"
#include "core/folders.h"
#include "core/synchronizer.h"
#include "settings/registry.h"
#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

constexpr char kLogFile[] = "C:\\MonitorLog.txt";
constexpr char kCaptureFolder[] = "C:\\Monitor\\Read";
constexpr size_t kDigits = 4;

// A file is opened at its end: of two lines written at once one would cover the other.
OCriticalSection logLock;

/// At least four digits, with leading zeros.
std::string Padded(DWORD number) {
  const std::string digits = std::to_string(number);
  return digits.size() < kDigits ? std::string(kDigits - digits.size(), '0') + digits : digits;
}

void AppendToLog(const std::string& line) {
  const OScopedLock lock(logLock);
  OFile log;
  if (log.Open(kLogFile, OFile::kReadWrite | OFile::kCreate | OFile::kAppend)) log.Write(line.data(), line.size());
}

void WriteCapture(const std::string& path, const void* buffer, DWORD size) {
  CreateFolder(kCaptureFolder);
  OFile capture;
  if (buffer && capture.Open(path.c_str(), OFile::kReadWrite | OFile::kCreate)) capture.Write(buffer, size);
}

bool IsOn(SettingId id) {
  const Setting& setting = FindSetting(id);
  return ORegistry().GetBool(setting.path, setting.number != 0);
}

}  // namespace

void MonitorDiagnostics::Reload() {
  logCalls_ = IsOn(SettingId::LogApiCalls);
  saveReads_ = IsOn(SettingId::SaveReadData);
}

void MonitorDiagnostics::LogCall(const char* operation) {
  if (!logCalls_) return;
  const DWORD error = GetLastError();
  AppendToLog(Padded(++lines_) + "\t" + operation + "\tEntry\r\n");
  SetLastError(error);
}

void MonitorDiagnostics::SaveReadBuffer(const void* buffer, DWORD size) {
  if (!saveReads_) return;
  const DWORD error = GetLastError();
  WriteCapture(std::string(kCaptureFolder) + "\\Data" + Padded(++captures_) + ".txt", buffer, size);
  SetLastError(error);
}

}  // namespace portwise
