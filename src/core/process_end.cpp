#include "core/process_end.h"

#include <atomic>

namespace portwise {
namespace {

std::atomic<bool> ending = false;

}  // namespace

void NoteProcessEnd() { ending = true; }

bool ProcessIsEnding() { return ending; }

}  // namespace portwise
