#include <aclapi.h>
#include <sddl.h>

#include "settings/registry.h"

namespace portwise {
namespace {

constexpr DWORD kRulesMask = 0xFF;

/// The access list of the rules, as text.
OString RulesText(DWORD rules) {
  OString text("D:");
  if (rules == ORegistry::kEveryoneReads) text += "(A;OICI;KR;;;WD)";
  if (rules == ORegistry::kEveryoneWrites) text += "(A;OICI;KA;;;WD)";
  if (rules != ORegistry::kInheritOnly) text += "(A;OICI;KA;;;BA)(A;OICI;KA;;;SY)";
  return text;
}

bool ApplyRules(HKEY key, void* descriptor, DWORD rules) {
  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  PACL list = nullptr;
  // Without a list everyone would be let in.
  if (!GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted) || !present) return false;
  const SECURITY_INFORMATION mode =
      rules == ORegistry::kInheritOnly ? UNPROTECTED_DACL_SECURITY_INFORMATION : PROTECTED_DACL_SECURITY_INFORMATION;
  return SetSecurityInfo(key, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION | mode, nullptr, nullptr, list, nullptr) ==
         ERROR_SUCCESS;
}

}  // namespace

bool ORegistry::SetKeySecurity(const OString& path, DWORD flags) const {
  OString key;
  HKEY root = nullptr;
  OString subKey;
  if (!ResolveKey(path, &key) || !ParseRoot(key, &root, &subKey)) return false;
  if (flags & kRecursive) {
    OStringArray names;
    EnumKeys(key, &names);
    for (const OString& name : names) SetKeySecurity(ChildPath(key, name), kRecursive | kInheritOnly);
  }

  const DWORD rules = flags & kRulesMask;
  unique_local descriptor;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(RulesText(rules).Wide(), SDDL_REVISION_1, descriptor.Put(),
                                                            nullptr)) {
    return false;
  }
  unique_registry_key open;
  const REGSAM access = KEY_ALL_ACCESS | extraAccess_;
  if (RegOpenKeyExW(root, subKey.Wide(), 0, access, open.Put()) == ERROR_SUCCESS) {
    return ApplyRules(open.Get(), descriptor.Get(), rules);
  }
  if (!(flags & kCreateMissing)) return false;
  SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor.Get(), FALSE};
  return RegCreateKeyExW(root, subKey.Wide(), 0, nullptr, REG_OPTION_NON_VOLATILE, access,
                         rules == kInheritOnly ? nullptr : &attributes, open.Put(), nullptr) == ERROR_SUCCESS;
}

}  // namespace portwise
