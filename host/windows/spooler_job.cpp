#include "host/windows/spooler_job.h"

#include <winspool.h>

#include "host/windows/say.h"

namespace portwise {

DWORD EnterJob(const OString& printer, const OString& document) {
  HANDLE handle = nullptr;
  if (!OpenPrinterW(Mutable(printer), &handle, nullptr)) return 0;
  OString type("RAW");
  DOC_INFO_1W info{Mutable(document), nullptr, Mutable(type)};
  return StartDocPrinterW(handle, 1, reinterpret_cast<LPBYTE>(&info));
}

}  // namespace portwise
