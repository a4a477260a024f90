#include "xpml/general/file_command.h"

#include "core/file.h"
#include "xpml/document.h"

namespace portwise {
namespace {

constexpr DWORD kReadSize = 16384;

void Save(std::string_view bytes, const OString& path, bool append) {
  OFile file;
  if (!file.Open(path, OFile::kReadWrite | OFile::kCreate | (append ? OFile::kAppend : 0))) return;
  file.Write(bytes.data(), bytes.size());
}

void Load(const OString& path, TextBuffer& content) {
  OFile file;
  if (!file.Open(path, 0)) return;
  // A device has no size, and another program may write to the file meanwhile: the size only spares reading in vain.
  const LONGLONG size = file.Size();
  if (size > 0 && static_cast<ULONGLONG>(size) > content.Room()) return;
  const size_t before = content.Length();
  char block[kReadSize];
  for (LONG read; (read = file.Read(block, kReadSize)) > 0;) {
    if (!content.Append(block, static_cast<size_t>(read))) {
      content.Truncate(before);
      return;
    }
  }
}

}  // namespace

bool RunFile(XPML_Document& document, void*) {
  TextBuffer& content = document.CurrentText();
  const OString save(document.GetAttribute("save"));
  if (!save.IsEmpty()) {
    Save(content.View(), save, document.GetAttributeBool("append", false));
    if (!document.GetAttributeBool("copy", false)) content.Clear();
  }
  const OString load(document.GetAttribute("load"));
  if (!load.IsEmpty()) Load(load, content);
  return true;
}

}  // namespace portwise
