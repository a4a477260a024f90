#include "platform/kernel/cpu_context.h"

#include <cstring>

#ifndef __x86_64__
#error "Faults and minidumps know the registers of x86-64 only: another processor needs its own CONTEXT and table."
#endif

namespace portwise::platform {
namespace {

struct Register {
  int machine;
  DWORD64 CONTEXT::*member;
};

constexpr Register kRegisters[] = {
    {REG_RAX, &CONTEXT::Rax}, {REG_RCX, &CONTEXT::Rcx}, {REG_RDX, &CONTEXT::Rdx}, {REG_RBX, &CONTEXT::Rbx},
    {REG_RSP, &CONTEXT::Rsp}, {REG_RBP, &CONTEXT::Rbp}, {REG_RSI, &CONTEXT::Rsi}, {REG_RDI, &CONTEXT::Rdi},
    {REG_R8, &CONTEXT::R8},   {REG_R9, &CONTEXT::R9},   {REG_R10, &CONTEXT::R10}, {REG_R11, &CONTEXT::R11},
    {REG_R12, &CONTEXT::R12}, {REG_R13, &CONTEXT::R13}, {REG_R14, &CONTEXT::R14}, {REG_R15, &CONTEXT::R15},
    {REG_RIP, &CONTEXT::Rip},
};

}  // namespace

void ContextOf(const ucontext_t& machine, CONTEXT* context) {
  const auto& registers = machine.uc_mcontext.gregs;
  std::memset(context, 0, sizeof *context);
  context->ContextFlags = CONTEXT_CONTROL | CONTEXT_INTEGER | CONTEXT_SEGMENTS;
  for (const auto& [number, member] : kRegisters) context->*member = static_cast<DWORD64>(registers[number]);
  context->EFlags = static_cast<DWORD>(registers[REG_EFL]);
  // One word holds four selectors; the others have no meaning in 64-bit programs.
  const auto selectors = static_cast<DWORD64>(registers[REG_CSGSFS]);
  context->SegCs = static_cast<WORD>(selectors);
  context->SegGs = static_cast<WORD>(selectors >> 16);
  context->SegFs = static_cast<WORD>(selectors >> 32);
  context->SegSs = static_cast<WORD>(selectors >> 48);
  if (const auto* floating = machine.uc_mcontext.fpregs) {
    static_assert(sizeof *floating == sizeof context->FltSave);
    context->ContextFlags |= CONTEXT_FLOATING_POINT;
    context->MxCsr = floating->mxcsr;
    std::memcpy(&context->FltSave, floating, sizeof context->FltSave);
  }
}

void ApplyContext(const CONTEXT& context, ucontext_t* machine) {
  auto& registers = machine->uc_mcontext.gregs;
  for (const auto& [number, member] : kRegisters) registers[number] = static_cast<greg_t>(context.*member);
  registers[REG_EFL] = context.EFlags;
}

}  // namespace portwise::platform
