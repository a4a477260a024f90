#include "plugin/plugin_context.h"

#include <algorithm>

#include "core/fault/exception_handler.h"

namespace portwise {
namespace {

/// Words that a plug-in may read on another thread meanwhile.
template <class Word, class Value>
void Store(Word& word, Value value) {
  std::atomic_ref<Word>(word).store(value);
}

}  // namespace

/// A callback under way. Counted before it looks for the connection, so that Disconnect either sees it or is seen.
class PluginContext::Callback {
 public:
  explicit Callback(const PortwiseBlock* block)
      : context_(block != nullptr ? static_cast<PluginContext*>(block->monitor) : nullptr) {
    if (context_ != nullptr) ++context_->callbacks_;
  }
  ~Callback() {
    if (context_ != nullptr) --context_->callbacks_;
  }
  Callback(const Callback&) = delete;
  Callback& operator=(const Callback&) = delete;

  /// What `body` returns for the connection; 0 without one, and when it throws.
  template <class Body>
  DWORD Run(Body&& body) {
    Connection* const connection = context_ != nullptr ? context_->connection_.load() : nullptr;
    if (connection == nullptr) return 0;
    OExceptionHandler guard("PluginCallback", OExceptionHandler::kReportEventLog);
    guard.SetReport(connection->Faults());
    DWORD result = 0;
    RunGuarded(guard, [&]() -> BOOL {
      result = body(*connection);
      return TRUE;
    });
    return result;
  }

 private:
  PluginContext* const context_;
};

PluginContext::PluginContext(const OString& printerName, const OString& portName, Connection& connection)
    : connection_(&connection), names_{printerName, portName} {
  block_.printerName = names_[0].Wide();
  block_.portName = names_[1].Wide();
  block_.connection = static_cast<ULONG_PTR>(connection.GetKind());
  block_.write = &Write;
  block_.read = &Read;
  block_.control = &Control;
  block_.check = &Check;
  block_.monitor = this;
}

void PluginContext::SetPrinterName(const OString& printerName) {
  OScopedLock lock(lock_);
  // A plug-in may still read any name that it was given; printers that take turns give the same ones again and again.
  auto name = std::find(names_.begin(), names_.end(), printerName);
  if (name == names_.end()) name = names_.insert(name, printerName);
  Store(block_.printerName, name->Wide());
}

void PluginContext::SetRequest(std::string_view bytes, const char* parameters) {
  if (bytes.empty() && parameters == nullptr) return ClearRequest();
  auto request = std::make_unique<Request>();
  request->bytes = bytes;
  if (parameters != nullptr) request->parameters = parameters;
  OScopedLock lock(lock_);
  ClearRequest();
  // The address last: with it in sight the length is the right one.
  Store(block_.requestLength, static_cast<ULONG_PTR>(request->bytes.size()));
  Store(block_.requestParameters, parameters != nullptr ? request->parameters.c_str() : nullptr);
  Store(block_.request, static_cast<const void*>(request->bytes.data()));
  request_ = std::move(request);
}

void PluginContext::ClearRequest() {
  OScopedLock lock(lock_);
  if (request_ == nullptr) return;
  oldRequests_.reserve(oldRequests_.size() + 1);
  Store(block_.request, static_cast<const void*>(nullptr));
  Store(block_.requestLength, ULONG_PTR{0});
  Store(block_.requestParameters, static_cast<const char*>(nullptr));
  oldRequests_.push_back(std::move(request_));
}

void PluginContext::FreeOld() {
  OScopedLock lock(lock_);
  oldRequests_.clear();
}

bool PluginContext::Disconnect() {
  connection_ = nullptr;
  return callbacks_ == 0;
}

FaultReport* PluginContext::Faults() const {
  Connection* const connection = connection_;
  return connection != nullptr ? connection->Faults() : nullptr;
}

DWORD WINAPI PluginContext::Write(PortwiseBlock* block, const void* data, DWORD length, DWORD* written) {
  DWORD taken = 0;
  const DWORD result = Callback(block).Run([&](Connection& connection) -> DWORD {
    return (data != nullptr || length == 0) && connection.Write(data, length, &taken);
  });
  if (written != nullptr) *written = taken;
  return result;
}

DWORD WINAPI PluginContext::Read(PortwiseBlock* block, void* buffer, DWORD size, DWORD* read) {
  DWORD delivered = 0;
  const DWORD result = Callback(block).Run([&](Connection& connection) -> DWORD {
    return (buffer != nullptr || size == 0) && connection.Read(buffer, size, &delivered);
  });
  if (read != nullptr) *read = delivered;
  return result;
}

DWORD WINAPI PluginContext::Control(PortwiseBlock* block, DWORD code, const char* input, void* output, DWORD size) {
  return Callback(block).Run([&](Connection& connection) {
    return static_cast<DWORD>(connection.Control(code, input, output, output != nullptr ? size : 0));
  });
}

DWORD WINAPI PluginContext::Check(PortwiseBlock* block, DWORD mask) {
  return Callback(block).Run([&](Connection& connection) { return connection.GetStatus(mask); });
}

}  // namespace portwise
