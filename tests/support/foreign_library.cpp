// Stands for what others load into the process: built without this project's flags, so that its compiler expects no
// exception from a processor fault.

#include <cstdlib>
#include <string>

namespace {

/// Runs while the loader loads the library.
const struct Constructed {
  Constructed() {
    if (std::getenv("FOREIGN_FAULT")) asm volatile("movl $8, %%eax; movl $1, (%%rax)" ::: "rax", "memory");
  }
} constructed;

}  // namespace

[[gnu::noinline]] void Grow(std::string& text) { text.append(5, 'x'); }

/// The write is behind the last call that can throw.
extern "C" int WriteWithStringInHand(int* where) {
  std::string text("label");
  Grow(text);
  *where = static_cast<int>(text.size());
  return *where;
}

/// Whether the body threw.
extern "C" int CatchAll(void (*body)()) {
  try {
    body();
  } catch (...) {
    return 1;
  }
  return 0;
}
