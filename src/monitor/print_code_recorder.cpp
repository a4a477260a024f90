#include "monitor/print_code_recorder.h"

#include "core/folders.h"

namespace portwise {
namespace {

constexpr int kMostFiles = 1000000;

/// The document's name without the characters that file names cannot have.
OString BaseName(const OString& document) {
  OString name = document;
  for (const char* forbidden : {"<", ">", ":", "/", "\\", "|", "*", "\""}) name.Replace(forbidden, "_");
  return name;
}

}  // namespace

void PrintCodeRecorder::Start(const OString& document, DriverSettings& settings) {
  Stop();
  if (!settings.GetPrintCodeRecording()) return;
  directory_ = settings.GetRecordingDirectory();
  directory_.TrimRight("\\");
  path_ = ChoosePath(document, settings.GetOverwriteFiles());
}

OString PrintCodeRecorder::ChoosePath(const OString& document, bool overwrite) const {
  const OString name = BaseName(document);
  if (overwrite) return directory_ + "\\" + AvoidDeviceName(name + ".prn");
  OString path;
  for (int n = 1; n <= kMostFiles; ++n) {
    path = directory_ + "\\" + AvoidDeviceName(name + "_" + OString::FromUnsigned(static_cast<unsigned>(n)) + ".prn");
    if (GetFileAttributesW(path.Wide()) == INVALID_FILE_ATTRIBUTES) break;
  }
  return path;
}

void PrintCodeRecorder::Append(std::string_view bytes) {
  if (path_.IsEmpty() || bytes.empty() || failed_) return;
  if (!file_.IsOpen()) {
    CreateFolder(directory_);
    failed_ = !file_.Open(path_, OFile::kReadWrite | OFile::kCreate | OFile::kShareRead);
    if (failed_) return;
  }
  file_.Write(bytes.data(), bytes.size());
}

void PrintCodeRecorder::Stop() {
  file_.Close();
  path_ = OString();
  failed_ = false;
}

}  // namespace portwise
