#include "core/operating_system_info.h"

#include <atomic>

#include "core/synchronizer.h"

namespace portwise {
namespace {

struct NameRow {
  DWORD major, minor;
  const char* workstation;
  const char* server;
};
constexpr NameRow kNames[] = {
    {6, 2, "Windows 8", "Windows Server 2012"},
    {6, 1, "Windows 7", "Windows Server 2008 R2"},
    {6, 0, "Windows Vista", "Windows Server 2008"},
    {5, 2, "Windows Server 2003", "Windows Server 2003"},
    {5, 1, "Windows XP", "Windows XP"},
    {5, 0, "Windows 2000", "Windows 2000"},
};

bool IsVersion(const OSVERSIONINFOEXW& version, DWORD major, DWORD minor) {
  return version.dwMajorVersion == major && version.dwMinorVersion == minor;
}

bool IsWorkstation(const OSVERSIONINFOEXW& version) { return version.wProductType == VER_NT_WORKSTATION; }

OString NameOf(const OSVERSIONINFOEXW& version) {
  for (const NameRow& row : kNames) {
    if (IsVersion(version, row.major, row.minor)) return IsWorkstation(version) ? row.workstation : row.server;
  }
  return OString("Windows NT ") + OString::FromUnsigned(version.dwMajorVersion) + "." +
         OString::FromUnsigned(version.dwMinorVersion);
}

OString ServerEdition(const OSVERSIONINFOEXW& version) {
  const bool datacenter = (version.wSuiteMask & VER_SUITE_DATACENTER) != 0;
  const bool enterprise = (version.wSuiteMask & VER_SUITE_ENTERPRISE) != 0;
  const bool is2003 = IsVersion(version, 5, 2);
  if (version.dwMajorVersion != 6 && !is2003) {
    return datacenter ? "Datacenter Server" : enterprise ? "Advanced Server" : "Server";
  }
  OString edition = datacenter ? "Datacenter Edition" : enterprise ? "Enterprise Edition" : "Standard Edition";
  if (is2003) {
    // The web edition has nothing else in its suite.
    if (version.wSuiteMask == VER_SUITE_BLADE) edition = "Web Edition";
    if (GetSystemMetrics(SM_SERVERR2) != 0) edition += "R2";
  }
  return edition;
}

OString WorkstationEdition(const OSVERSIONINFOEXW& version) {
  const char* edition = version.wSuiteMask & VER_SUITE_PERSONAL ? "Home Edition" : "Professional";
  if (!IsVersion(version, 5, 1)) return edition;
  if (GetSystemMetrics(SM_MEDIACENTER) != 0) return "Media Center";
  if (GetSystemMetrics(SM_STARTER) != 0) return "Starter Edition";
  if (GetSystemMetrics(SM_TABLETPC) != 0) return "Tablet PC Edition";
  const bool embedded = (version.wSuiteMask & (VER_SUITE_PERSONAL | VER_SUITE_EMBEDDEDNT)) == VER_SUITE_EMBEDDEDNT;
  return embedded ? "Embedded" : edition;
}

// Made when the library is loaded, so that the first request needs no other lock.
OCriticalSection lock;
OperatingSystemInfo record;
std::atomic<bool> complete = false;

}  // namespace

const OperatingSystemInfo& OperatingSystemInfo::Get() {
  static const OperatingSystemInfo none;
  if (complete.load(std::memory_order_acquire)) return record;
  const OScopedLock locked(lock);
  if (complete.load(std::memory_order_relaxed)) return record;
  if (!record.Read()) return none;
  complete.store(true, std::memory_order_release);
  return record;
}

bool OperatingSystemInfo::Read() {
  *this = OperatingSystemInfo();
  OSVERSIONINFOEXW version = {};
  version.dwOSVersionInfoSize = sizeof version;
  if (!GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version))) return false;
  name_ = NameOf(version);
  edition_ = IsWorkstation(version) ? WorkstationEdition(version) : ServerEdition(version);
  majorVersion_ = version.dwMajorVersion;
  minorVersion_ = version.dwMinorVersion;
  servicePackText_ = version.szCSDVersion;
  servicePack_ = DWORD{version.wServicePackMinor} << 16 | version.wServicePackMajor;
  platform_ = version.dwPlatformId;
  productType_ = version.wProductType;
  buildText_ = OString("Build ") + OString::FromUnsigned(version.dwBuildNumber);
  if (!servicePackText_.IsEmpty()) buildText_ += OString(" (") + servicePackText_ + ")";
  return true;
}

OString OperatingSystemInfo::Description() const {
  OString text;
  for (const OString& part : {name_, edition_, buildText_}) {
    if (!text.IsEmpty() && !part.IsEmpty()) text += " ";
    text += part;
  }
  return text;
}

}  // namespace portwise
