#include "core/allocator_fault_linux.h"

#include <dlfcn.h>
#include <link.h>
#include <malloc.h>
#include <unwind.h>

#include <algorithm>
#include <cstdlib>

namespace portwise {
namespace {

// The functions that are not exported lie before those that are: this many bytes of them, with what they may grow by.
constexpr ULONG_PTR kHelpers = 12 << 10;

struct Range {
  ULONG_PTR from = 0;
  ULONG_PTR to = 0;
  bool Has(ULONG_PTR address) const { return address >= from && address < to; }
};

// The library that the allocator is in, and parts of it.
Range library;
Range allocator;
Range freeing;
Range reallocating;

template <class Function>
Range RangeOf(Function* function) {
  const auto from = reinterpret_cast<ULONG_PTR>(function);
  Dl_info info;
  void* symbol = nullptr;
  const bool found = dladdr1(reinterpret_cast<void*>(from), &info, &symbol, RTLD_DL_SYMENT) && symbol;
  return {from, from + (found ? static_cast<const ElfW(Sym)*>(symbol)->st_size : 1)};
}

struct Walk {
  ULONG_PTR start;
  bool started = false;
  ULONG_PTR innermost = 0;  // of the allocator's frames
  ULONG_PTR outermost = 0;
  void** returnAddress = nullptr;
};

_Unwind_Reason_Code Step(_Unwind_Context* context, void* argument) {
  constexpr _Unwind_Reason_Code kStop = _URC_END_OF_STACK;
  auto& walk = *static_cast<Walk*>(argument);
  int exact = 0;
  const ULONG_PTR address = _Unwind_GetIPInfo(context, &exact);
  walk.started = walk.started || (exact && address == walk.start);
  if (!walk.started) return _URC_NO_REASON;  // still in the signal handler
  if (allocator.Has(address)) {
    if (!walk.innermost) walk.innermost = address;
    walk.outermost = address;
    return _URC_NO_REASON;
  }
  if (!walk.innermost) return library.Has(address) ? _URC_NO_REASON : kStop;
  auto** below = reinterpret_cast<void**>(_Unwind_GetCFA(context)) - 1;
  if (reinterpret_cast<ULONG_PTR>(*below) == address) walk.returnAddress = below;
  return kStop;
}

}  // namespace

void PrepareAllocatorSearch() {
  const Range functions[] = {RangeOf(malloc),   RangeOf(free),          RangeOf(realloc),       RangeOf(calloc),
                             RangeOf(memalign), RangeOf(aligned_alloc), RangeOf(posix_memalign)};
  dl_find_object object;
  if (_dl_find_object(reinterpret_cast<void*>(malloc), &object) != 0) return;
  const Range all = {reinterpret_cast<ULONG_PTR>(object.dlfo_map_start),
                     reinterpret_cast<ULONG_PTR>(object.dlfo_map_end)};
  Range found = functions[0];
  for (const Range& function : functions) {
    if (!all.Has(function.from)) continue;
    found = {std::min(found.from, function.from), std::max(found.to, function.to)};
  }
  allocator = {std::max(all.from, found.from - kHelpers), found.to};
  freeing = functions[1];
  reallocating = functions[2];
  library = all;
  // The first call may load and look up things.
  Walk walk{allocator.from};
  _Unwind_Backtrace(Step, &walk);
}

AllocatorCall FindAllocatorCall(const CONTEXT& fault) {
  if (!library.Has(fault.Rip)) return {};
  Walk walk{fault.Rip};
  _Unwind_Backtrace(Step, &walk);
  // `free` itself, which reads what a pointer points at, takes no lock; what it calls does.
  if (!walk.innermost || freeing.Has(walk.innermost)) return {};
  // Who resizes a block still has the old pointer when the exception comes, and would free that.
  return {true, reallocating.Has(walk.outermost) ? nullptr : walk.returnAddress};
}

}  // namespace portwise
