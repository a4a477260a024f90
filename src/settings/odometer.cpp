#include "settings/odometer.h"

#include <winspool.h>

namespace portwise {
namespace {

constexpr const WCHAR* kKey = TEXT("Meterbank");
constexpr const WCHAR* kPages = TEXT("Odometer Pages");
constexpr const WCHAR* kDistance = TEXT("Odometer Distance");

constexpr double kUnitsPerMillimetre = 10;

template <class Value>
bool Read(HANDLE printer, LPCWSTR name, Value* value) {
  DWORD size = 0;
  return GetPrinterDataExW(printer, kKey, name, nullptr, reinterpret_cast<LPBYTE>(value), sizeof *value, &size) ==
             ERROR_SUCCESS &&
         size == sizeof *value;
}

template <class Value>
bool Write(HANDLE printer, LPCWSTR name, DWORD type, Value value) {
  return SetPrinterDataExW(printer, kKey, name, type, reinterpret_cast<LPBYTE>(&value), sizeof value) == ERROR_SUCCESS;
}

}  // namespace

void Odometer::Add(DWORD pageCount, DWORD pageLength) {
  OScopedLock lock(lock_);
  pages_ += pageCount;
  distance_ += static_cast<double>(pageCount) * pageLength / kUnitsPerMillimetre;
}

bool Odometer::Load(HANDLE printer) {
  OScopedLock lock(lock_);
  DWORD pages = 0;
  double distance = 0;
  if (!Read(printer, kPages, &pages) || !Read(printer, kDistance, &distance)) return false;
  pages_ = pages;
  distance_ = distance;
  return true;
}

bool Odometer::Save(HANDLE printer) {
  OScopedLock lock(lock_);
  const bool pages = Write(printer, kPages, REG_DWORD, pages_);
  const bool distance = Write(printer, kDistance, REG_BINARY, distance_);
  return pages && distance;
}

DWORD Odometer::Pages() const {
  OScopedLock lock(lock_);
  return pages_;
}

double Odometer::Distance() const {
  OScopedLock lock(lock_);
  return distance_;
}

}  // namespace portwise
