#ifndef PORTWISE_DRIVER_UI_H
#define PORTWISE_DRIVER_UI_H

/* What the status window asks of a printer driver's user interface: a COM object that is made in the status window's
 * process and called on the thread of its windows, in an apartment of its own. The driver writes the object's class id,
 * such as {00000000-0000-0000-0000-000000000000}, to the printer's setting "Settings:User Interface Class". Without it
 * the window's menu item "Status Monitoring..." is grey, unless they are open. */

#include <windows.h>

#include <objbase.h>

/* {76EFB8B5-7AC7-4D6E-95C9-8AB8CFA27B35} */
inline constexpr IID IID_IPortwiseStatusSettings = {
    0x76EFB8B5, 0x7AC7, 0x4D6E, {0x95, 0xC9, 0x8A, 0xB8, 0xCF, 0xA2, 0x7B, 0x35}};

/* IUnknown has no virtual destructor. */
#ifdef __GNUC__
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
struct IPortwiseStatusSettings : public IUnknown {
  /* Shows the settings of status monitoring of a printer, owned by the window `owner`, and may return only once they
   * are closed. `server` is the computer of the printer, without backslashes. Texts last until the call returns. A
   * window that is to be found again while it is open is the property
   * "Corvane:Drivers:Window:" + printer + ":StatusMonitoring" of the desktop window. */
  virtual HRESULT STDMETHODCALLTYPE ShowStatusMonitoring(LPCWSTR printer, HWND owner, LPCWSTR server) = 0;

 protected:
  ~IPortwiseStatusSettings() = default; /* Release ends the object */
};
#ifdef __GNUC__
#pragma GCC diagnostic pop
#endif

#endif
