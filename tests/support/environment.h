#pragma once

#include <cstdlib>
#include <ctime>

namespace portwise {

/// A variable of the environment; null takes it away.
inline void SetVariable(const char* name, const char* value) {
#ifdef _WIN32
  _putenv_s(name, value ? value : "");
#else
  if (value) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
#endif
}

/// Three hours east of Greenwich, for a scope. Windows has one time zone for all; scripts/test-windows sees to it.
class EasternTime {
 public:
  EasternTime() { Set("UTC-3"); }
  ~EasternTime() { Set(nullptr); }
  EasternTime(const EasternTime&) = delete;
  EasternTime& operator=(const EasternTime&) = delete;

 private:
  static void Set([[maybe_unused]] const char* zone) {
#ifndef _WIN32
    SetVariable("TZ", zone);
    tzset();
#endif
  }
};

}  // namespace portwise
