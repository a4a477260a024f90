#pragma once

/// As much of COM as asking for an object takes. No class is registered here.

#include <windef.h>
#include <winerror.h>

#define STDMETHODCALLTYPE
#define CLSCTX_INPROC_SERVER 0x1u
#define COINIT_APARTMENTTHREADED 0x2u

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  BYTE Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
using LPCLSID = CLSID*;
inline bool operator==(const GUID& one, const GUID& other) { return __builtin_memcmp(&one, &other, sizeof one) == 0; }

struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interface, void** object) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;

 protected:
  ~IUnknown() = default;
};
using LPUNKNOWN = IUnknown*;

extern "C" {
/// S_FALSE on a thread where it has been called already. Each call that succeeds is to be undone.
HRESULT WINAPI CoInitialize(LPVOID reserved);
HRESULT WINAPI CoInitializeEx(LPVOID reserved, DWORD model);
void WINAPI CoUninitialize();
/// CO_E_CLASSSTRING for a text that is no GUID in braces.
HRESULT WINAPI CLSIDFromString(LPCWSTR text, LPCLSID id);
/// CO_E_NOTINITIALIZED, and otherwise REGDB_E_CLASSNOTREG unless RegisterComClass has been told of the class.
HRESULT WINAPI CoCreateInstance(REFCLSID id, LPUNKNOWN outer, DWORD context, REFIID interface, LPVOID* object);
}
