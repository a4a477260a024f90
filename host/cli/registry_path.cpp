#include "host/cli/registry_path.h"

#include "host/cli/client.h"
#include "platform/registry/registry_control.h"
#include "settings/logical_path.h"
#include "settings/registry_text.h"

namespace portwise {

OString ToRegistryPath(const std::string& path) {
  OString text(path, CP_UTF8);
  return text.StartsWithNoCase(OString("HKEY_")) ? NativeToInternal(text) : text;
}

OString ValueOf(const OString& key, const OString& name) { return ChildPath(key, OString()) + ValuePath(name); }

void FailAtRegistry(const std::string& otherwise) {
  std::string fault = platform::RegistryFault();
  throw CommandError(fault.empty() ? otherwise : fault);
}

}  // namespace portwise
