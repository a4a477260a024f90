#pragma once

#include <cstdint>

namespace portwise {

// Processor faults, made in assembly, so that neither the optimiser nor a sanitizer comes before the processor.

inline volatile int zero = 0;

[[gnu::noinline]] inline void DivideByZero() {
  asm volatile("movl $1, %%eax; cltd; idivl %0" ::"r"(zero + 0) : "eax", "edx");
}
[[gnu::noinline]] inline void OverflowQuotient() {
  asm volatile("movl $0x80000000, %%eax; cltd; idivl %0" ::"r"(zero - 1) : "eax", "edx");
}
[[gnu::noinline]] inline void ReadNull() { asm volatile("movl (%0), %%eax" ::"r"(uintptr_t{0}) : "eax"); }
[[gnu::noinline]] inline void WriteAt16() { asm volatile("movl $1, (%0)" ::"r"(uintptr_t{16}) : "memory"); }
[[gnu::noinline]] inline void ReadNowhere() {
  // No address of 64 bits, or the end of those of 32.
  constexpr uintptr_t kNowhere = sizeof(uintptr_t) == 8 ? ~(~uintptr_t{0} >> 1) : ~uintptr_t{15};
  asm volatile("movl (%0), %%eax" ::"r"(kNowhere) : "eax");
}
[[gnu::noinline]] inline void IllegalInstruction() { asm volatile("ud2"); }
[[gnu::noinline]] inline void CallNull() { reinterpret_cast<void (*)()>(static_cast<uintptr_t>(zero))(); }
[[gnu::noinline]] inline void DivideFloat() {
  struct Masks {
    explicit Masks(unsigned masks) { asm volatile("ldmxcsr %0" ::"m"(masks)); }
  };
  struct Restored {
    ~Restored() { Masks(0x1F80); }
  } restored;
  Masks(0x1D80);  // divisions by zero trap
  asm volatile("movl $1, %%eax; cvtsi2ss %%eax, %%xmm0; xorps %%xmm1, %%xmm1; divss %%xmm1, %%xmm0" ::
                   : "eax"
#ifdef __SSE__
                     ,
                     "xmm0", "xmm1"
#endif
  );
}
inline void Nothing() {}

/// Runs into the end of the stack.
[[gnu::noinline]] inline int OverflowStack(int depth = 0) {
  volatile char room[3000];
  room[depth % 3000] = 1;
  return zero == 0 ? OverflowStack(depth + 1) + room[depth % 3000] : depth;
}

}  // namespace portwise
