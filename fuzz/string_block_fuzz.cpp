// A resource as a block of strings, as a dialog template and as a menu template.

#include <cstdlib>

#include "locale/dialog_template.h"
#include "locale/menu_template.h"
#include "locale/string_block.h"

using namespace portwise;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  std::size_t units = 0;
  for (UINT position = 0; position < kStringsPerBlock; ++position) units += StringInBlock(data, size, position).size();
  if (units * sizeof(WCHAR) > size) std::abort();
  IsWholeMenuTemplate(data, size);
  OBuffer dialog(data, size);
  if (!FixDialogTemplate("MS Shell Dlg", &dialog)) std::abort();
  if (dialog.Size() > size + 64) std::abort();
  return 0;
}
