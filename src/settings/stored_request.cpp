#include "settings/stored_request.h"

#include <windows.h>

#include <limits>

#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

volatile LONG lastNumber = 0;

/// The tick count alone would be shared by requests of one millisecond.
std::string UniqueName() {
  const auto number = static_cast<DWORD>(InterlockedIncrement(&lastNumber));
  return std::to_string(GetTickCount()) + "-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(number);
}

}  // namespace

StoredRequest::StoredRequest() : name_(UniqueName()), path_(SettingPath(SettingId::XpmlValues, name_)) {
  registry_.SetExtraAccess(KEY_WOW64_64KEY);
}

StoredRequest::~StoredRequest() { registry_.Delete(path_); }

bool StoredRequest::Store(std::string_view request) {
  if (request.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return false;
  return registry_.SetBinary(path_, request.data(), static_cast<DWORD>(request.size())) > 0;
}

OString StoredRequest::ValueName(const OString& printer) const {
  return OString("XPML:") + printer + "," + OString(std::string_view(name_));
}

bool StoredRequest::Read(std::string* content) const {
  DWORD size = 0;
  if (!registry_.GetValueInfo(path_, nullptr, &size)) return false;
  std::string read(size, '\0');
  if (size > 0 && registry_.GetBinary(path_, read.data(), size) != static_cast<int>(size)) return false;
  *content = std::move(read);
  return true;
}

}  // namespace portwise
