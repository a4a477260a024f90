#pragma once

#include <windows.h>

#include <cstddef>

/// The self-relative binary forms of security descriptors, access lists and trustees, little-endian.
namespace portwise::platform {

struct DescriptorHeader {
  BYTE revision;
  BYTE reserved;
  WORD control;
  DWORD owner;
  DWORD group;
  DWORD systemList;
  DWORD list;
};
static_assert(sizeof(DescriptorHeader) == 20);

inline constexpr BYTE kDescriptorRevision = 1;
inline constexpr WORD kListPresent = 0x4;
inline constexpr WORD kListDefaulted = 0x8;
inline constexpr WORD kInheritRequested = 0x100;
inline constexpr WORD kInherited = 0x400;
inline constexpr WORD kListProtected = 0x1000;
inline constexpr WORD kSelfRelative = 0x8000;

/// The head of an entry, up to its trustee.
struct EntryHeader {
  BYTE type;
  BYTE flags;
  WORD size;
  ACCESS_MASK mask;
};
static_assert(sizeof(EntryHeader) == 8);

inline constexpr BYTE kAllow = 0;
inline constexpr BYTE kDeny = 1;

inline constexpr BYTE kObjectInherit = 0x1;
inline constexpr BYTE kContainerInherit = 0x2;
inline constexpr BYTE kNoPropagate = 0x4;
inline constexpr BYTE kInheritOnly = 0x8;
inline constexpr BYTE kInheritedEntry = 0x10;

inline constexpr BYTE kListRevision = 2;

/// A known trustee: its letters in the text form, and its binary form of `size` bytes.
struct Trustee {
  char letters[3];
  BYTE size;
  BYTE bytes[16];
  bool administrative;
};

inline constexpr Trustee kTrustees[] = {
    {"WD", 12, {1, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0}, false},
    {"SY", 12, {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0}, true},
    {"BA", 16, {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 0x20, 2, 0, 0}, true},
};

}  // namespace portwise::platform
