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
[[gnu::noinline]] inline void ReadNull() { asm volatile("xorl %%eax, %%eax; movl (%%rax), %%eax" ::: "rax"); }
[[gnu::noinline]] inline void WriteAt16() { asm volatile("movl $16, %%eax; movl $1, (%%rax)" ::: "rax", "memory"); }
[[gnu::noinline]] inline void ReadNowhere() {
  asm volatile("movabsq $0x8000000000000000, %%rax; movl (%%rax), %%eax" ::: "rax");
}
[[gnu::noinline]] inline void IllegalInstruction() { asm volatile("ud2"); }
[[gnu::noinline]] inline void CallNull() { reinterpret_cast<void (*)()>(static_cast<uintptr_t>(zero))(); }
[[gnu::noinline]] inline void DivideFloat() {
  struct Masks {
    ~Masks() { __builtin_ia32_ldmxcsr(0x1F80); }
  } restored;
  __builtin_ia32_ldmxcsr(0x1D80);  // divisions by zero trap
  asm volatile("movl $1, %%eax; cvtsi2ss %%eax, %%xmm0; xorps %%xmm1, %%xmm1; divss %%xmm1, %%xmm0" ::
                   : "eax", "xmm0", "xmm1");
}
inline void Nothing() {}

/// Runs into the end of the stack.
[[gnu::noinline]] inline int OverflowStack(int depth = 0) {
  volatile char room[3000];
  room[depth % 3000] = 1;
  return zero == 0 ? OverflowStack(depth + 1) + room[depth % 3000] : depth;
}

}  // namespace portwise
