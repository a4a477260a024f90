#pragma once

#include <windows.h>

#include "core/unique_resource.h"

namespace portwise {

/// A kernel handle: an event, a thread or a file. Both null and INVALID_HANDLE_VALUE are none.
struct KernelHandleTraits {
  using Value = HANDLE;
  static Value None() { return nullptr; }
  static bool IsNone(Value value) { return value == nullptr || value == INVALID_HANDLE_VALUE; }
  static void Release(Value value) { CloseHandle(value); }
};
using unique_handle = UniqueResource<KernelHandleTraits>;

struct RegistryKeyTraits {
  using Value = HKEY;
  static Value None() { return nullptr; }
  static bool IsNone(Value value) { return value == nullptr; }
  static void Release(Value value) { RegCloseKey(value); }
};
using unique_registry_key = UniqueResource<RegistryKeyTraits>;

struct ModuleTraits {
  using Value = HMODULE;
  static Value None() { return nullptr; }
  static bool IsNone(Value value) { return value == nullptr; }
  static void Release(Value value) { FreeLibrary(value); }
};
using unique_module = UniqueResource<ModuleTraits>;

/// Memory that a system call allocated for us and that LocalFree releases.
struct LocalMemoryTraits {
  using Value = void*;
  static Value None() { return nullptr; }
  static bool IsNone(Value value) { return value == nullptr; }
  static void Release(Value value) { LocalFree(value); }
};
using unique_local = UniqueResource<LocalMemoryTraits>;

}  // namespace portwise
