#include "xpml/document.h"

#include <new>

#include "xpml/general/general_commands.h"

namespace portwise {
namespace {

constexpr std::string_view kSection = "xpml";

}  // namespace

XPML_Document::XPML_Document(TextAllowance* allowance)
    : elements_(allowance),
      topText_(TextBuffer::kNoLimit, TextBuffer::kNoLimit, allowance),
      tagText_(allowance),
      holdText_(allowance) {
  RegisterCommands(GeneralCommands(), nullptr);
  Reset();
}

XPML_Document::~XPML_Document() = default;

void XPML_Document::Reset() {
  mode_ = Mode::Text;
  inSection_ = false;
  startMatchCount_ = 0;
  entityLength_ = 0;
  tagText_.Free();
  topText_.Free();
  runBegin_ = runEnd_ = nullptr;
  resumeOffset_ = 0;
  flushOwed_ = false;
  textLost_ = false;
  cut_ = false;
  continue_ = true;
  FreePending();
  elements_.Clear();
}

int XPML_Document::RegisterHandler(const OString& path, HandlerFunction function, void* context) {
  return handlers_.Add(path.InCodePage(kCodePageOneByte), function, context);
}

void XPML_Document::RegisterCommands(std::span<const XPML_Command> commands, void* context) {
  handlers_.Add(commands, context);
}

void XPML_Document::SetTextHandler(HandlerFunction function, void* context) {
  textHandler_ = {std::string_view(), function, context};
}

bool XPML_Document::RunHandler(std::string_view path) {
  const bool closing = path.starts_with('/');
  const XPML_Handler* handler = handlers_.Find(closing, closing ? path.substr(1) : path);
  return handler ? Call(*handler) : true;
}

/// A handler that was refused memory has left a text that is not whole, and nothing may be made of that any more.
bool XPML_Document::Call(const XPML_Handler& handler) {
  const bool result = handler.function(*this, handler.context);
  if (topText_.IsAllowanceExceeded()) throw std::bad_alloc();
  return result;
}

TextBuffer& XPML_Document::CurrentText() {
  if (!elements_.IsEmpty()) return elements_.Content();
  KeepRun();
  return topText_;
}

std::string_view XPML_Document::FindAttribute(std::string_view element, std::string_view name,
                                              std::string_view defaultValue) const {
  const XPML_Attribute* attribute = elements_.FindAttribute(element, name);
  return attribute ? attribute->value : defaultValue;
}

std::string_view XPML_Document::GetAttribute(std::string_view name, std::string_view defaultValue) const {
  const XPML_Element* element = CurrentElement();
  return element ? FindAttribute(element->Name(), name, defaultValue) : defaultValue;
}

bool XPML_Document::GetAttributeBool(std::string_view name, bool defaultValue) const {
  const std::string_view value = GetAttribute(name);
  if (value.empty()) return defaultValue;
  return !EqualsNoCase(value, "false") && value != "0";
}

LONG XPML_Document::GetAttributeInt(std::string_view name, LONG defaultValue) const {
  const std::string_view value = GetAttribute(name);
  return value.empty() ? defaultValue : ParseDecimal(value);
}

void XPML_Document::SetPending(std::string_view bytes) {
  pending_.data = std::make_unique<char[]>(bytes.size());
  bytes.copy(pending_.data.get(), bytes.size());
  pending_.length = static_cast<DWORD>(bytes.size());
  pending_.offset = 0;
}

/// Adds bytes of the chunk to the current text. A run of plain text that lies together in the chunk is only marked.
void XPML_Document::AppendRun(const char* from, const char* to) {
  if (from == to) return;
  if (!elements_.IsEmpty()) {
    AppendBytes(std::string_view(from, static_cast<size_t>(to - from)));
  } else if (runEnd_ == from && runBegin_ != runEnd_) {
    runEnd_ = to;
  } else {
    KeepRun();
    runBegin_ = from;
    runEnd_ = to;
  }
}

/// Adds a copy of the bytes to the current text, as many as it may still hold.
void XPML_Document::AppendBytes(std::string_view bytes) { AppendTo(CurrentText(), bytes); }

/// Lack of memory must not pass for a text that is full.
void XPML_Document::AppendTo(TextBuffer& text, std::string_view bytes) {
  if (bytes.size() > text.Room()) cut_ = true;
  if (!text.Append(bytes.substr(0, text.Room()))) throw std::bad_alloc();
}

/// Copies the marked run behind the text that is kept already.
void XPML_Document::KeepRun() {
  const std::string_view run(runBegin_, static_cast<size_t>(runEnd_ - runBegin_));
  AppendTo(topText_, run);
  runBegin_ = runEnd_ = nullptr;
}

/// Hands the plain text to the text handler when it is the current text; false, with the text kept, when refused.
bool XPML_Document::FlushText() {
  if (!elements_.IsEmpty() || !textHandler_.function) return true;
  if (!topText_.IsEmpty()) KeepRun();
  const char* data = topText_.IsEmpty() ? runBegin_ : topText_.Data();
  const size_t length = topText_.IsEmpty() ? static_cast<size_t>(runEnd_ - runBegin_) : topText_.Length();
  if (length == 0) return true;
  plainText_ = std::string_view(data, length);
  const bool taken = Call(textHandler_);
  plainText_ = std::string_view();
  if (taken) {
    topText_.Clear();
    runBegin_ = runEnd_ = nullptr;
  }
  return taken;
}

bool XPML_Document::OpensElement(const Tag& tag) { return tag.opens && !tag.name.empty() && tag.name != kSection; }

/// The element that the tag opens is open already.
void XPML_Document::ProcessTag(const Tag& tag) {
  if (tag.name.empty()) return;
  if (OpensElement(tag)) {
    if (const XPML_Handler* handler = handlers_.Find(false, tag.name)) Call(*handler);
  } else if (tag.opens) {
    inSection_ = true;
  }
  if (tag.closes) CloseElement(tag.name);
}

void XPML_Document::CloseElement(std::string_view name) {
  if (name == kSection) {
    inSection_ = false;
    return;
  }
  if (elements_.IsEmpty()) return;
  const XPML_Handler* handler = handlers_.Find(true, name);
  try {
    if (handler) Call(*handler);
  } catch (...) {
    PopElement();
    throw;
  }
  PopElement();
}

/// Closes the innermost element; the outermost one's content becomes plain text. The handlers have run, so for want of
/// memory nothing can be made good any more.
void XPML_Document::PopElement() {
  try {
    if (!elements_.Close()) cut_ = true;
    if (elements_.IsEmpty()) KeepContent();
  } catch (...) {
    textLost_ = true;
    throw;
  }
}

void XPML_Document::KeepContent() {
  TextBuffer& content = elements_.Content();
  KeepRun();
  if (!topText_.IsEmpty()) {
    AppendTo(topText_, content.View());
    content.Clear();
  } else if (!topText_.Take(content)) {
    throw std::bad_alloc();
  }
}

}  // namespace portwise
