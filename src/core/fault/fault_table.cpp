#include "core/fault/fault_table.h"

namespace portwise {
namespace {

struct FaultRow {
  DWORD first;
  DWORD last;
  FaultMeaning meaning;
};

constexpr FaultRow kFaults[] = {
    // from        to          error                      text
    {0x80000002, 0x80000002, {ERROR_INVALID_ADDRESS, ""}},
    {0xC0000005, 0xC0000006, {ERROR_INVALID_ADDRESS, ""}},
    {0xC000001D, 0xC000001D, {ERROR_INTERNAL_ERROR, "Illegal instruction."}},
    {0xC000008D, 0xC0000093, {ERROR_INTERNAL_ERROR, "Floating point error."}},
    {0xC0000094, 0xC0000094, {ERROR_INTERNAL_ERROR, "Division by zero."}},
    {0xC0000095, 0xC0000095, {ERROR_ARITHMETIC_OVERFLOW, ""}},
    {0xC00000FD, 0xC00000FD, {ERROR_STACK_OVERFLOW, ""}},
};

}  // namespace

FaultMeaning MeaningOfFault(DWORD exceptionCode) {
  for (const FaultRow& row : kFaults) {
    if (exceptionCode >= row.first && exceptionCode <= row.last) return row.meaning;
  }
  return {ERROR_UNIDENTIFIED_ERROR, ""};
}

}  // namespace portwise
