#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// The Windows version in numbers, and in words for reports to clients.
class OperatingSystemInfo {
 public:
  /// The process's record: filled by the first call, unchanging from then on. When the system does not tell its version
  /// the result is an empty record, and the next call asks again. Any thread; without a lock once it is filled.
  static const OperatingSystemInfo& Get();

  /// Asks the system. False, with everything empty or 0, when it does not tell.
  bool Read();

  /// The product, such as "Windows 7".
  const OString& Name() const { return name_; }
  /// Such as "Professional"; may be empty.
  const OString& Edition() const { return edition_; }
  /// "Build 7601 (Service Pack 1)", without the part in parentheses when there is no service pack.
  const OString& BuildText() const { return buildText_; }
  /// The three of them in one line.
  OString Description() const;

  DWORD MajorVersion() const { return majorVersion_; }
  DWORD MinorVersion() const { return minorVersion_; }
  /// True from that version of the system on.
  bool IsAtLeast(DWORD major, DWORD minor) const {
    return majorVersion_ > major || (majorVersion_ == major && minorVersion_ >= minor);
  }
  const OString& ServicePackText() const { return servicePackText_; }
  /// The major number in the low word, the minor one in the high word.
  DWORD ServicePack() const { return servicePack_; }
  DWORD Platform() const { return platform_; }
  /// VER_NT_WORKSTATION, VER_NT_DOMAIN_CONTROLLER or VER_NT_SERVER.
  BYTE ProductType() const { return productType_; }

 private:
  OString name_;
  OString edition_;
  OString buildText_;
  DWORD majorVersion_ = 0;
  DWORD minorVersion_ = 0;
  OString servicePackText_;
  DWORD servicePack_ = 0;
  DWORD platform_ = 0;
  BYTE productType_ = 0;
};

}  // namespace portwise
