#include "core/fault/fault_site_linux.h"

#include <dlfcn.h>
#include <gnu/libc-version.h>
#include <link.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/auxv.h>
#include <unwind.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace portwise {
namespace {

// The functions that are not exported lie before those that are: this many bytes of them, with what they may grow by.
constexpr ULONG_PTR kHelpers = 12 << 10;

constexpr _Unwind_Reason_Code kStop = _URC_END_OF_STACK;

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
Range cLibrary;
Range loader;
// What these have taken belongs to their caller: let finish, they would leave it taken. They have taken nothing yet
// when the stack ends in them.
Range locking[5];

bool IsSystem(ULONG_PTR address) { return cLibrary.Has(address) || loader.Has(address); }

template <class Function>
Range RangeOf(Function* function) {
  const auto from = reinterpret_cast<ULONG_PTR>(function);
  Dl_info info;
  void* symbol = nullptr;
  const bool found = dladdr1(reinterpret_cast<void*>(from), &info, &symbol, RTLD_DL_SYMENT) && symbol;
  return {from, from + (found ? static_cast<const ElfW(Sym)*>(symbol)->st_size : 1)};
}

/// Of an address in it.
Range LibraryOf(ULONG_PTR address) {
  dl_find_object object;
  if (_dl_find_object(reinterpret_cast<void*>(address), &object) != 0) return {};
  return {reinterpret_cast<ULONG_PTR>(object.dlfo_map_start), reinterpret_cast<ULONG_PTR>(object.dlfo_map_end)};
}

/// Where the return address into the frame is on the stack; null when it is not where it should be.
void** ReturnInto(_Unwind_Context* context, ULONG_PTR address) {
  auto** below = reinterpret_cast<void**>(_Unwind_GetCFA(context)) - 1;
  return reinterpret_cast<ULONG_PTR>(*below) == address ? below : nullptr;
}

/// Looks at the frames from the one at fault on.
struct Walk {
  ULONG_PTR start;
  bool started = false;

  /// Of a frame; 0 for those of the signal handler.
  ULONG_PTR AddressOf(_Unwind_Context* context) {
    int exact = 0;
    const ULONG_PTR address = _Unwind_GetIPInfo(context, &exact);
    started = started || (exact && address == start);
    return started ? address : 0;
  }
};

struct AllocatorWalk : Walk {
  bool isInside = false;
  bool isFreeing = false;

  static _Unwind_Reason_Code Step(_Unwind_Context* context, void* argument) {
    auto& walk = *static_cast<AllocatorWalk*>(argument);
    const ULONG_PTR address = walk.AddressOf(context);
    if (!walk.started) return _URC_NO_REASON;
    walk.isInside = allocator.Has(address);
    walk.isFreeing = freeing.Has(address);
    return !walk.isInside && library.Has(address) ? _URC_NO_REASON : kStop;
  }
};

/// Finds the call that led into the system's libraries, or into another library's allocator.
struct SystemWalk : Walk {
  ULONG_PTR outermost = 0;
  void** intoOutermost = nullptr;
  void** returnAddress = nullptr;  // of the outermost
  bool hasEnded = false;

  static _Unwind_Reason_Code Step(_Unwind_Context* context, void* argument) {
    auto& walk = *static_cast<SystemWalk*>(argument);
    const ULONG_PTR address = walk.AddressOf(context);
    if (!walk.started) return _URC_NO_REASON;
    void** const into = walk.outermost ? ReturnInto(context, address) : nullptr;
    if (IsSystem(address) || allocator.Has(address)) {
      walk.outermost = address;
      walk.intoOutermost = into;
      return _URC_NO_REASON;
    }
    walk.returnAddress = into;
    walk.hasEnded = true;
    return kStop;
  }
};

/// The loader holds its lock where the C library has called it: to load, to unload. What others call it for on the way
/// is a function that is bound at its first call, or a thread-local object.
struct LoaderWalk {
  const void* catcher;
  bool wasLoader = false;
  bool isInside = false;

  static _Unwind_Reason_Code Step(_Unwind_Context* context, void* argument) {
    auto& walk = *static_cast<LoaderWalk*>(argument);
    if (reinterpret_cast<const void*>(_Unwind_GetCFA(context)) == walk.catcher) return kStop;
    const ULONG_PTR address = _Unwind_GetIP(context);
    walk.isInside = walk.wasLoader && cLibrary.Has(address);
    walk.wasLoader = loader.Has(address);
    return walk.isInside ? kStop : _URC_NO_REASON;
  }
};

bool IsInAllocator(ULONG_PTR address) {
  if (!library.Has(address)) return false;
  AllocatorWalk walk{{address}};
  _Unwind_Backtrace(AllocatorWalk::Step, &walk);
  // `free` itself, which reads what a pointer points at, takes no lock; what it calls does.
  return walk.isInside && !walk.isFreeing;
}

/// An overflow goes on in the reserve until the libraries are in order again.
FaultSite FindOverflowSite(ULONG_PTR address) {
  if (!IsSystem(address) && !allocator.Has(address)) return {};
  SystemWalk walk{{address}};
  _Unwind_Backtrace(SystemWalk::Step, &walk);
  const auto isOutermost = [&walk](const Range& function) { return function.Has(walk.outermost); };
  if (std::any_of(std::begin(locking), std::end(locking), isOutermost)) return {};
  // Called from outside, the loader binds a function and then goes on in that one, which may be any. So the throw comes
  // when its own work is done, if that has begun.
  if (walk.hasEnded && loader.Has(walk.outermost)) return {true, walk.intoOutermost};
  // Who resizes a block still has the old pointer when the exception comes, and would free that.
  return {walk.returnAddress && !reallocating.Has(walk.outermost), walk.returnAddress};
}

}  // namespace

void PrepareFaultSites() {
  const Range functions[] = {RangeOf(malloc),   RangeOf(free),          RangeOf(realloc),       RangeOf(calloc),
                             RangeOf(memalign), RangeOf(aligned_alloc), RangeOf(posix_memalign)};
  library = LibraryOf(reinterpret_cast<ULONG_PTR>(malloc));
  Range found = functions[0];
  for (const Range& function : functions) {
    if (!library.Has(function.from)) continue;
    found = {std::min(found.from, function.from), std::max(found.to, function.to)};
  }
  allocator = {std::max(library.from, found.from - kHelpers), found.to};
  freeing = functions[1];
  reallocating = functions[2];
  cLibrary = LibraryOf(reinterpret_cast<ULONG_PTR>(gnu_get_libc_version));
  // None when the loader was called to start the program.
  loader = LibraryOf(getauxval(AT_BASE));
  const Range locks[] = {RangeOf(pthread_mutex_lock), RangeOf(pthread_mutex_trylock), RangeOf(pthread_mutex_timedlock),
                         RangeOf(pthread_rwlock_rdlock), RangeOf(pthread_rwlock_wrlock)};
  static_assert(std::size(locks) == std::size(locking));
  std::copy(std::begin(locks), std::end(locks), locking);
  // The first call may load and look up things.
  AllocatorWalk walk{{allocator.from}};
  _Unwind_Backtrace(AllocatorWalk::Step, &walk);
}

FaultSite FindFaultSite(const EXCEPTION_RECORD& record, const CONTEXT& fault) {
  if (record.ExceptionCode == EXCEPTION_STACK_OVERFLOW) return FindOverflowSite(fault.Rip);
  return {!loader.Has(fault.Rip) && !IsInAllocator(fault.Rip), nullptr};
}

bool IsBelowLoader(const void* catcher) {
  LoaderWalk walk{catcher};
  _Unwind_Backtrace(LoaderWalk::Step, &walk);
  return walk.isInside;
}

}  // namespace portwise
