#pragma once

/// The device mode, as printers carry it; objects of the graphics interface: what describes the stock font, and their
/// end.

#include <windef.h>

#define CCHDEVICENAME 32
#define CCHFORMNAME 32

/// `dmSize` bytes of public members, then `dmDriverExtra` bytes of the driver's own.
struct DEVMODEW {
  WCHAR dmDeviceName[CCHDEVICENAME];
  WORD dmSpecVersion;
  WORD dmDriverVersion;
  WORD dmSize;
  WORD dmDriverExtra;
  DWORD dmFields;
  SHORT dmOrientation;
  SHORT dmPaperSize;
  SHORT dmPaperLength;
  SHORT dmPaperWidth;
  SHORT dmScale;
  SHORT dmCopies;
  SHORT dmDefaultSource;
  SHORT dmPrintQuality;
  SHORT dmColor;
  SHORT dmDuplex;
  SHORT dmYResolution;
  SHORT dmTTOption;
  SHORT dmCollate;
  WCHAR dmFormName[CCHFORMNAME];
  WORD dmLogPixels;
  DWORD dmBitsPerPel;
  DWORD dmPelsWidth;
  DWORD dmPelsHeight;
  DWORD dmDisplayFlags;
  DWORD dmDisplayFrequency;
  DWORD dmICMMethod;
  DWORD dmICMIntent;
  DWORD dmMediaType;
  DWORD dmDitherType;
  DWORD dmReserved1;
  DWORD dmReserved2;
  DWORD dmPanningWidth;
  DWORD dmPanningHeight;
};
static_assert(sizeof(DEVMODEW) == 220);

#define DEFAULT_GUI_FONT 17
#define DEFAULT_CHARSET 1
#define LF_FACESIZE 32

struct LOGFONTW {
  LONG lfHeight;
  LONG lfWidth;
  LONG lfEscapement;
  LONG lfOrientation;
  LONG lfWeight;
  BYTE lfItalic;
  BYTE lfUnderline;
  BYTE lfStrikeOut;
  BYTE lfCharSet;
  BYTE lfOutPrecision;
  BYTE lfClipPrecision;
  BYTE lfQuality;
  BYTE lfPitchAndFamily;
  WCHAR lfFaceName[LF_FACESIZE];
};

extern "C" {
/// Only DEFAULT_GUI_FONT.
HGDIOBJ WINAPI GetStockObject(int object);
/// Only the stock font, as a LOGFONTW of which `size` bytes are copied. The number of bytes; 0 on failure.
int WINAPI GetObjectW(HANDLE object, int size, LPVOID buffer);
/// Ends a bitmap; the stock font stays.
BOOL WINAPI DeleteObject(HGDIOBJ object);
/// Only fonts. What was selected before; null on failure.
HGDIOBJ WINAPI SelectObject(HDC context, HGDIOBJ object);
/// Every character is as wide as half of the font's height of a line, those of East Asia twice as wide.
BOOL WINAPI GetTextExtentPoint32W(HDC context, LPCWSTR text, int length, LPSIZE size);
}
