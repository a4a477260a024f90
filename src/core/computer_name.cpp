#include "core/computer_name.h"

#include <windows.h>

namespace portwise {

OString ComputerName() {
  WCHAR name[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
  return GetComputerNameW(name, &size) ? OString(name) : OString();
}

}  // namespace portwise
