// Stands for what others load into the process: built without this project's flags, so that its compiler expects no
// exception from a processor fault.

#include <string>

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
