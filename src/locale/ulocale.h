#pragma once

#include "core/buffer.h"
#include "core/hash_map.h"
#include "core/pointer_array.h"
#include "locale/locale_source.h"

namespace portwise {

/// The resources of the user interface and of the status texts, from an ordered list of sources: what the first has
/// not, the next is asked for. Names are as the resource functions of Windows take them. One thread at a time.
class ULocale {
 public:
  /// Reads the values of the user's locale.
  ULocale();
  ULocale(const ULocale&) = delete;
  ULocale& operator=(const ULocale&) = delete;
  virtual ~ULocale() = default;

  /// Called before each request for a resource.
  virtual void EnsureLoaded() {}
  /// 1 for the units of the United States, 2 for metric ones.
  virtual int GetMeasurementSystem() const { return measure_ == "1" ? 1 : 2; }
  virtual bool UsesLeadingZero() const { return leadingZero_ == "1"; }
  virtual OString GetDecimalSeparator() const { return decimalSeparator_; }
  virtual OString GetThousandSeparator() const { return thousandSeparator_; }

  /// Adds a source, asked after those that are there. The locale owns it.
  void AddSource(ULocaleSource* source);
  /// Ends the sources, and with them everything that they answered.
  void RemoveSources();

  /// The size of a resource in bytes, and the bytes, which last as long as the sources: of the first source that has a
  /// resource of this name that is not empty. 0 and null when none has.
  DWORD GetResourceSize(LPCWSTR type, LPCWSTR name);
  const void* GetResourceData(LPCWSTR type, LPCWSTR name);
  HANDLE LoadHandle(ResourceKind kind, LPCWSTR name);
  /// The caller's to destroy; null when no source has it or its template is damaged.
  HMENU LoadMenu(LPCWSTR name);
  /// A dialog template in the font that dialogs are shown in, aligned for use; lasts as long as the sources. Null when
  /// no source has it.
  const void* GetDialog(LPCWSTR name, DWORD* size);
  /// The string of the first source in which it is not empty; empty when there is none.
  OString LoadString(UINT id);

 private:
  struct Resource {
    const void* data;
    DWORD size;
  };
  static Resource Ask(ULocaleSource& source, LPCWSTR type, LPCWSTR name);
  Resource Find(LPCWSTR type, LPCWSTR name);

  OPointerArray<ULocaleSource> sources_;
  OStringMap<OBuffer> dialogCache_;
  OString measure_;
  OString leadingZero_;
  OString decimalSeparator_;
  OString thousandSeparator_;
};

}  // namespace portwise
