#include "platform/kernel/division.h"

#include <cstdint>
#include <cstring>

#include "platform/kernel/own_memory.h"

namespace portwise::platform {
namespace {

constexpr std::size_t kLongestInstruction = 15;

// The registers in the order of their numbers in instructions.
constexpr int kRegisters[16] = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP, REG_RSI, REG_RDI,
                                REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15};

/// DIV or IDIV: prefixes, F6 or F7, and its operand.
class Division {
 public:
  explicit Division(const ucontext_t& machine) : machine_(machine) {
    ReadOwnMemory(reinterpret_cast<const void*>(machine.uc_mcontext.gregs[REG_RIP]), code_, sizeof code_);
  }

  /// False when the instruction is another one.
  bool ReadDivisor(std::uint64_t* divisor) {
    if (code_[at_] == 0x66) {
      size_ = 2;
      ++at_;
    }
    if ((code_[at_] & 0xF0) == 0x40) rex_ = code_[at_++];
    if (rex_ & 8) size_ = 8;
    if ((code_[at_] | 1) != 0xF7) return false;
    if (code_[at_++] == 0xF6) size_ = 1;
    mode_ = code_[at_++];
    const int operation = mode_ >> 3 & 7;
    if (operation != 6 && operation != 7) return false;
    *divisor = 0;
    if (mode_ >> 6 != 3) return ReadOwnMemory(reinterpret_cast<const void*>(Address()), divisor, size_) == size_;
    const std::uint64_t value = RegisterOperand();
    std::memcpy(divisor, &value, size_);
    return true;
  }

 private:
  std::uint64_t Register(int number, int extension) const {
    return static_cast<std::uint64_t>(machine_.uc_mcontext.gregs[kRegisters[number | (rex_ & extension ? 8 : 0)]]);
  }

  std::uint64_t RegisterOperand() const {
    const int number = mode_ & 7;
    // Bytes 4 to 7 are AH, CH, DH and BH when there is no prefix.
    if (size_ == 1 && rex_ == 0 && number >= 4) return Register(number - 4, 0) >> 8;
    return Register(number, 1);
  }

  std::uint64_t Address() {
    int base = mode_ & 7;
    std::uint64_t address = 0;
    if (base == 4) {
      const int scaled = code_[at_++];
      const int index = scaled >> 3 & 7;
      if (index != 4 || rex_ & 2) address = Register(index, 2) << (scaled >> 6);
      base = scaled & 7;
      if (base != 5 || mode_ >> 6 != 0) address += Register(base, 1);
      if (base == 5 && mode_ >> 6 == 0) return address + Displacement<std::int32_t>();
    } else if (base == 5 && mode_ >> 6 == 0) {
      address = Displacement<std::int32_t>();
      return address + static_cast<std::uint64_t>(machine_.uc_mcontext.gregs[REG_RIP]) + at_;
    } else {
      address = Register(base, 1);
    }
    if (mode_ >> 6 == 1) return address + Displacement<std::int8_t>();
    return mode_ >> 6 == 2 ? address + Displacement<std::int32_t>() : address;
  }

  template <class Number>
  std::uint64_t Displacement() {
    Number number;
    std::memcpy(&number, code_ + at_, sizeof number);
    at_ += sizeof number;
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(number));
  }

  const ucontext_t& machine_;
  unsigned char code_[kLongestInstruction] = {};
  std::size_t at_ = 0;
  std::size_t size_ = 4;
  unsigned char rex_ = 0;
  unsigned char mode_ = 0;
};

}  // namespace

bool IsQuotientTooLarge(const ucontext_t& machine) {
  std::uint64_t divisor = 0;
  return Division(machine).ReadDivisor(&divisor) && divisor != 0;
}

}  // namespace portwise::platform
