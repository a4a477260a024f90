// The signals of processor faults, as exceptions.

#include <signal.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <mutex>

#include "platform/kernel/cpu_context.h"
#include "platform/kernel/division.h"
#include "platform/kernel/exceptions.h"
#include "platform/kernel/fault_stack.h"

namespace portwise::platform {
namespace {

struct FaultSignal {
  int number;
  struct sigaction before;
};
FaultSignal faultSignals[] = {{SIGSEGV, {}}, {SIGBUS, {}}, {SIGFPE, {}}, {SIGILL, {}}};

FaultSignal& FindSignal(int number) {
  return *std::find_if(std::begin(faultSignals), std::end(faultSignals),
                       [number](const FaultSignal& signal) { return signal.number == number; });
}

struct ArithmeticFault {
  int signalCode;
  DWORD exception;
};
constexpr ArithmeticFault kArithmeticFaults[] = {
    {FPE_INTDIV, EXCEPTION_INT_DIVIDE_BY_ZERO},    {FPE_INTOVF, EXCEPTION_INT_OVERFLOW},
    {FPE_FLTDIV, EXCEPTION_FLT_DIVIDE_BY_ZERO},    {FPE_FLTOVF, EXCEPTION_FLT_OVERFLOW},
    {FPE_FLTUND, EXCEPTION_FLT_UNDERFLOW},         {FPE_FLTRES, EXCEPTION_FLT_INEXACT_RESULT},
    {FPE_FLTINV, EXCEPTION_FLT_INVALID_OPERATION},
};

DWORD ArithmeticException(int signalCode) {
  for (const auto& [code, exception] : kArithmeticFaults) {
    if (code == signalCode) return exception;
  }
  return EXCEPTION_FLT_INVALID_OPERATION;
}

/// Reading 0, writing 1 or executing 8, and the address.
void DescribeAccess(const siginfo_t& info, const ucontext_t& machine, EXCEPTION_RECORD* record) {
  constexpr greg_t kWrite = 0x2;
  constexpr greg_t kFetch = 0x10;
  const greg_t error = machine.uc_mcontext.gregs[REG_ERR];
  record->NumberParameters = 2;
  record->ExceptionInformation[0] = error & kFetch ? 8 : error & kWrite ? 1 : 0;
  // The processor does not tell an address that no memory can have.
  record->ExceptionInformation[1] =
      info.si_code == SI_KERNEL ? ~ULONG_PTR{0} : reinterpret_cast<ULONG_PTR>(info.si_addr);
}

EXCEPTION_RECORD Describe(const siginfo_t& info, const ucontext_t& machine) {
  EXCEPTION_RECORD record = {};
  record.ExceptionAddress = reinterpret_cast<PVOID>(machine.uc_mcontext.gregs[REG_RIP]);
  switch (info.si_signo) {
    case SIGSEGV:
      record.ExceptionCode = IsStackOverflow(info.si_addr) ? EXCEPTION_STACK_OVERFLOW : EXCEPTION_ACCESS_VIOLATION;
      DescribeAccess(info, machine, &record);
      break;
    case SIGBUS:
      record.ExceptionCode = info.si_code == BUS_ADRALN ? EXCEPTION_DATATYPE_MISALIGNMENT : EXCEPTION_IN_PAGE_ERROR;
      DescribeAccess(info, machine, &record);
      break;
    case SIGFPE:
      record.ExceptionCode = info.si_code == FPE_INTDIV && IsQuotientTooLarge(machine)
                                 ? EXCEPTION_INT_OVERFLOW
                                 : ArithmeticException(info.si_code);
      break;
    default:
      record.ExceptionCode = EXCEPTION_ILLEGAL_INSTRUCTION;
  }
  return record;
}

/// The handlers of the API. True when the thread goes on by the machine context as it is then.
bool Dispatch(const siginfo_t& info, ucontext_t* machine) {
  EXCEPTION_RECORD record = Describe(info, *machine);
  CONTEXT context;
  ContextOf(*machine, &context);
  const DWORD64 stackPointer = context.Rsp;
  EXCEPTION_POINTERS pointers{&record, &context};
  if (CallVectoredHandlers(&pointers) != EXCEPTION_CONTINUE_EXECUTION) return false;
  KeepStack(stackPointer);
  if (record.ExceptionCode == EXCEPTION_STACK_OVERFLOW && !OpenStackReserve()) return false;
  ApplyContext(context, machine);
  // A floating-point fault that stays pending would come again in the handling of the first.
  if (auto* floating = machine->uc_mcontext.fpregs) floating->swd = 0;
  return true;
}

/// What would have happened without us.
void PassOn(const struct sigaction& before, siginfo_t* info, void* machine) {
  const int number = info->si_signo;
  const bool sent = info->si_code <= 0;
  const bool handled = (before.sa_flags & SA_SIGINFO) || (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN);
  if (!handled) {
    if (sent && before.sa_handler == SIG_IGN) return;
    // A fault comes again as soon as the handler returns, and then ends the process; a signal must be sent again.
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    sigaction(number, &standard, nullptr);
    if (sent) syscall(SYS_tgkill, getpid(), gettid(), number);
    return;
  }
  if (before.sa_flags & SA_RESETHAND) {
    FindSignal(number).before = {};
  }
  sigset_t blocked = before.sa_mask;
  if (!(before.sa_flags & SA_NODEFER)) sigaddset(&blocked, number);
  sigset_t entered;
  pthread_sigmask(SIG_BLOCK, &blocked, &entered);
  if (before.sa_flags & SA_SIGINFO) {
    before.sa_sigaction(number, info, machine);
  } else {
    before.sa_handler(number);
  }
  pthread_sigmask(SIG_SETMASK, &entered, nullptr);
}

void OnSignal(int number, siginfo_t* info, void* machine) {
  const int error = errno;
  // What another process or thread sends is no fault.
  const bool fault = info->si_code > 0;
  if (!fault || !Dispatch(*info, static_cast<ucontext_t*>(machine))) {
    const struct sigaction before = FindSignal(number).before;
    PassOn(before, info, machine);
  }
  errno = error;
}

}  // namespace

void InstallFaultSignals() {
  static std::once_flag once;
  std::call_once(once, [] {
    struct sigaction action {};
    action.sa_sigaction = OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (auto& [number, before] : faultSignals) {
      // Known before the first signal can arrive.
      sigaction(number, nullptr, &before);
      sigaction(number, &action, nullptr);
    }
  });
}

}  // namespace portwise::platform
