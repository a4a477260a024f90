#pragma once

namespace portwise {

/// The library has learnt that the process ends. On Windows the system has stopped all other threads by then, in the
/// middle of whatever they did: what they were to undo is never undone, and must not be waited for.
void NoteProcessEnd();
bool ProcessIsEnding();

}  // namespace portwise
