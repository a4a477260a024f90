// MiniDumpWriteDump, for the calling process only.

#include <dbghelp.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <mutex>
#include <string>

#include "platform/dump/dump_file.h"
#include "platform/dump/image_records.h"
#include "platform/dump/memory_map.h"
#include "platform/dump/thread_capture.h"
#include "platform/kernel/cpu_context.h"
#include "platform/kernel/fail.h"
#include "platform/kernel/fault_stack.h"
#include "platform/kernel/handle_table.h"
#include "platform/kernel/modules.h"
#include "platform/kernel/own_memory.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

constexpr DWORD kStreams = 8;
// How much memory a dump holds at most: the stacks, then the images' data, then the rest in ascending order.
constexpr DWORD64 kMemoryLimit = 64 << 20;
constexpr size_t kReadAtOnce = 256 << 10;

struct StackCopy {
  DWORD64 start = 0;
  std::vector<BYTE> bytes;

  MemoryRange Range() const { return {start, start + bytes.size()}; }
};

struct ThreadState {
  DWORD id = 0;
  const CONTEXT* context = nullptr;  // null when it is not known
  StackCopy stack;
  DumpLocation contextPlace = {};
};

/// The part of a stack that lies in the region of its start: copies may reach into whatever lies above.
void CutToRegion(const std::vector<MemoryRegion>& map, StackCopy* stack) {
  for (const MemoryRegion& region : map) {
    if (stack->start < region.range.begin || stack->start >= region.range.end) continue;
    stack->bytes.resize(std::min<DWORD64>(stack->bytes.size(), region.range.end - stack->start));
    return;
  }
}

class Minidump {
 public:
  Minidump(HANDLE file, DWORD type, const MINIDUMP_EXCEPTION_INFORMATION* exception);

  bool Write();

 private:
  void CollectThreads();
  void WriteSystemInfo();
  void WriteMiscInfo();
  void WriteException();
  void WriteModules();
  void WriteHandles();
  void WriteUnloadedModules();
  void WriteThreads(DWORD stackPlace);
  void WriteMemory();
  std::vector<MemoryRange> ChooseMemory() const;
  void CopyMemory(const MemoryRange& range);

  const DWORD type_;
  const EXCEPTION_POINTERS* const exception_;  // may be null
  const DWORD exceptionThread_;
  CONTEXT ownContext_ = {};
  const std::vector<MemoryRegion> map_ = MemoryMap();
  const std::vector<ImageRecord> images_ = ImageRecords();
  std::vector<CapturedThread> captured_;
  std::vector<ThreadState> threads_;
  DumpFile file_;
};

Minidump::Minidump(HANDLE file, DWORD type, const MINIDUMP_EXCEPTION_INFORMATION* exception)
    : type_(type),
      exception_(exception ? exception->ExceptionPointers : nullptr),
      exceptionThread_(exception ? exception->ThreadId : 0),
      file_(file, kStreams) {}

void Minidump::CollectThreads() {
  // The calling thread stands as it was at its fault, with the stack that was kept then.
  ThreadState own;
  own.id = GetCurrentThreadId();
  if (exception_ && exceptionThread_ == own.id) {
    own.context = exception_->ContextRecord;
    const KeptStack kept = LastKeptStack();
    if (kept.start == own.context->Rsp) own.stack = {kept.start, {kept.bytes.begin(), kept.bytes.end()}};
  } else {
    ucontext_t machine;
    getcontext(&machine);
    ContextOf(machine, &ownContext_);
    own.context = &ownContext_;
  }
  if (own.stack.bytes.empty()) {
    own.stack = {own.context->Rsp, std::vector<BYTE>(kReadAtOnce)};
    own.stack.bytes.resize(
        ReadOwnMemory(reinterpret_cast<const void*>(own.stack.start), own.stack.bytes.data(), own.stack.bytes.size()));
  }
  threads_.push_back(std::move(own));
  captured_ = CaptureOtherThreads();
  for (CapturedThread& thread : captured_) {
    ThreadState state;
    state.id = thread.id;
    if (thread.answered) {
      state.context = &thread.context;
      state.stack = {thread.context.Rsp, std::move(thread.stack)};
    }
    threads_.push_back(std::move(state));
  }
  for (ThreadState& thread : threads_) CutToRegion(map_, &thread.stack);
}

void Minidump::WriteSystemInfo() {
  utsname system{};
  uname(&system);
  DumpSystemInfo info = {};
  info.architecture = kProcessorAmd64;
  info.processorCount = static_cast<BYTE>(std::clamp(sysconf(_SC_NPROCESSORS_ONLN), 1l, 255l));
  info.platform = kPlatformLinux;
  info.versionText = file_.AppendText(ToUtf16(std::string(system.release) + " " + system.version));
  const DWORD start = file_.Align();
  file_.Append(info);
  file_.EndStream(DumpStream::kSystemInfo, start);
}

void Minidump::WriteMiscInfo() {
  const DWORD start = file_.Align();
  file_.Append(DumpMiscInfo{sizeof(DumpMiscInfo), 1, GetCurrentProcessId(), 0, 0, 0});
  file_.EndStream(DumpStream::kMiscInfo, start);
}

void Minidump::WriteException() {
  if (!exception_) return;
  const EXCEPTION_RECORD& record = *exception_->ExceptionRecord;
  DumpException entry = {};
  entry.thread = exceptionThread_;
  entry.code = record.ExceptionCode;
  entry.flags = record.ExceptionFlags;
  entry.address = reinterpret_cast<DWORD64>(record.ExceptionAddress);
  entry.parameterCount = std::min<DWORD>(record.NumberParameters, EXCEPTION_MAXIMUM_PARAMETERS);
  std::copy_n(record.ExceptionInformation, entry.parameterCount, entry.information);
  file_.Align();
  entry.context = file_.Append(*exception_->ContextRecord);
  for (ThreadState& thread : threads_) {
    if (thread.context == exception_->ContextRecord) thread.contextPlace = entry.context;
  }
  const DWORD start = file_.Align();
  file_.Append(entry);
  file_.EndStream(DumpStream::kException, start);
}

void Minidump::WriteModules() {
  std::vector<DumpModule> modules;
  for (const ImageRecord& image : images_) {
    DumpModule module = {};
    module.base = image.range.begin;
    module.size = static_cast<DWORD>(image.range.Size());
    module.name = file_.AppendText(ToUtf16(image.path));
    if (!image.buildId.empty()) {
      file_.Align();
      module.codeView = file_.Append(kCodeViewElf);
      module.codeView.size += file_.Append(image.buildId.data(), image.buildId.size()).size;
    }
    modules.push_back(module);
  }
  const DWORD start = file_.Align();
  file_.Append(static_cast<DWORD>(modules.size()));
  file_.Append(modules.data(), modules.size() * sizeof(DumpModule));
  file_.EndStream(DumpStream::kModuleList, start);
}

void Minidump::WriteHandles() {
  if (!(type_ & MiniDumpWithHandleData)) return;
  const auto handles = TryListHandles();
  const DWORD start = file_.Align();
  file_.Append(DumpHandleList{sizeof(DumpHandleList), sizeof(DumpHandle), static_cast<DWORD>(handles.size()), 0});
  for (const HANDLE handle : handles) {
    file_.Append(DumpHandle{reinterpret_cast<DWORD64>(handle), 0, 0, 0, 0, 1, 1});
  }
  file_.EndStream(DumpStream::kHandleData, start);
}

void Minidump::WriteUnloadedModules() {
  if (!(type_ & MiniDumpWithUnloadedModules)) return;
  // The system does not remember them.
  constexpr DWORD kEntrySize = 24;
  const DWORD start = file_.Align();
  file_.Append(DumpUnloadedModules{sizeof(DumpUnloadedModules), kEntrySize, 0});
  file_.EndStream(DumpStream::kUnloadedModuleList, start);
}

/// The stacks' bytes begin at `stackPlace`, in the order of the threads.
void Minidump::WriteThreads(DWORD stackPlace) {
  const DWORD start = file_.Align();
  file_.Append(static_cast<DWORD>(threads_.size()));
  for (const ThreadState& thread : threads_) {
    DumpThread entry = {};
    entry.id = thread.id;
    entry.stackStart = thread.stack.start;
    entry.stack = {static_cast<DWORD>(thread.stack.bytes.size()), stackPlace};
    entry.context = thread.contextPlace;
    file_.Append(entry);
    stackPlace += entry.stack.size;
  }
  file_.EndStream(DumpStream::kThreadList, start);
}

/// The ranges beside the stacks, as far as the limit goes.
std::vector<MemoryRange> Minidump::ChooseMemory() const {
  DWORD64 room = kMemoryLimit;
  for (const ThreadState& thread : threads_) room -= std::min<DWORD64>(room, thread.stack.bytes.size());
  const auto isData = [this](const MemoryRange& range) {
    return std::any_of(images_.begin(), images_.end(), [&range](const ImageRecord& image) {
      return range.begin >= image.range.begin && range.begin < image.range.end;
    });
  };
  std::vector<MemoryRange> chosen;
  for (const bool data : {true, false}) {
    // The private memory takes the images' data in.
    if (!(type_ &
          (data ? MiniDumpWithDataSegs | MiniDumpWithPrivateReadWriteMemory : MiniDumpWithPrivateReadWriteMemory))) {
      continue;
    }
    for (const auto& [range, privateWritable] : map_) {
      if (room == 0 || !privateWritable || isData(range) != data) continue;
      auto parts = PresentParts(range);
      for (const ThreadState& thread : threads_) parts = Without(parts, thread.stack.Range());
      for (const MemoryRange& part : parts) {
        const DWORD64 size = std::min(room, part.Size());
        if (size > 0) chosen.push_back({part.begin, part.begin + size});
        room -= size;
      }
    }
  }
  return chosen;
}

/// What cannot be read any more is written as zeros, since every range has its place already.
void Minidump::CopyMemory(const MemoryRange& range) {
  std::vector<BYTE> bytes;
  for (DWORD64 next = range.begin; next < range.end; next += bytes.size()) {
    bytes.assign(std::min<DWORD64>(kReadAtOnce, range.end - next), 0);
    ReadOwnMemory(reinterpret_cast<const void*>(next), bytes.data(), bytes.size());
    file_.Append(bytes.data(), bytes.size());
  }
}

/// The list of threads comes here, because their stacks are the first of the memory.
void Minidump::WriteMemory() {
  for (ThreadState& thread : threads_) {
    if (!thread.context || thread.contextPlace.size > 0) continue;
    file_.Align();
    thread.contextPlace = file_.Append(*thread.context);
  }
  const auto others = ChooseMemory();
  const auto count = threads_.size() + others.size();
  const auto threadsSize = static_cast<DWORD>(sizeof(DWORD) + threads_.size() * sizeof(DumpThread));
  const auto listSize = static_cast<DWORD>(sizeof(DumpMemoryList) + count * sizeof(DumpMemoryRange));
  const DWORD list = file_.Align() + (threadsSize + 7) / 8 * 8;
  const DWORD place = list + listSize;
  WriteThreads(place);
  file_.Align();
  file_.Append(DumpMemoryList{count, place});
  for (const ThreadState& thread : threads_)
    file_.Append(DumpMemoryRange{thread.stack.start, thread.stack.bytes.size()});
  for (const MemoryRange& range : others) file_.Append(DumpMemoryRange{range.begin, range.Size()});
  file_.EndStream(DumpStream::kMemory64List, list);
  for (const ThreadState& thread : threads_) file_.Append(thread.stack.bytes.data(), thread.stack.bytes.size());
  for (const MemoryRange& range : others) CopyMemory(range);
}

bool Minidump::Write() {
  CollectThreads();
  WriteSystemInfo();
  WriteMiscInfo();
  WriteException();
  WriteModules();
  WriteHandles();
  WriteUnloadedModules();
  WriteMemory();
  return file_.Finish(type_);
}

/// MiniDumpWriteDump. User streams and callbacks are not supported.
BOOL WriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
               PMINIDUMP_EXCEPTION_INFORMATION exception, PMINIDUMP_USER_STREAM_INFORMATION userStreams,
               PMINIDUMP_CALLBACK_INFORMATION callback) try {
  // One at a time, as threads are asked.
  static std::mutex writing;
  const std::lock_guard lock(writing);
  if (process != GetCurrentProcess() || processId != GetCurrentProcessId()) return Fail(ERROR_NOT_SUPPORTED);
  if (userStreams || callback) return Fail(ERROR_INVALID_PARAMETER);
  return Minidump(file, type, exception).Write();
} catch (const std::exception&) {
  return Fail(ERROR_NOT_ENOUGH_MEMORY);
}

const bool registered = [] {
  RegisterSystemModule("dbghelp.dll", {{"MiniDumpWriteDump", AsFarProc(WriteDump)}});
  return true;
}();

}  // namespace
}  // namespace portwise::platform
