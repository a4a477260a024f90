#pragma once

#include <windows.h>

namespace portwise {

/// What the logs of a port tell of the course of a job, beside the printer's statuses.
struct JobEvent {
  DWORD id;
  const char* text;
};
constexpr JobEvent kJobStart = {100, "Job Start"};
constexpr JobEvent kJobEnd = {101, "Job End"};
constexpr JobEvent kPageStart = {102, "Page Start"};
constexpr JobEvent kPageEnd = {103, "Page End"};

}  // namespace portwise
