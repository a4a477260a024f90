#pragma once

#include <windows.h>

#include <memory>
#include <span>
#include <string_view>

#include "core/ostring.h"
#include "xpml/element_stack.h"
#include "xpml/handler_table.h"
#include "xpml/tag.h"
#include "xpml/text_buffer.h"

namespace portwise {

/// Bytes that must be delivered before parsing may go on.
struct PendingOutput {
  std::unique_ptr<char[]> data;
  DWORD length = 0;  ///< bytes that are left, from `offset` on
  DWORD offset = 0;
};

/// A streaming filter that cuts XPML sections out of a stream of bytes and runs their commands.
///
/// A section begins with the exact bytes "<xpml>" and ends with an `xpml` end tag. Bytes outside sections, and what
/// commands leave behind in them, are the plain text; it is handed to the text handler where a section or a tag
/// begins and at the end of each chunk, in place where it is a part of the chunk. The stream may be cut into chunks
/// anywhere, also inside "<xpml>", a tag or an entity. Malformed markup is never an error.
///
/// One thread at a time; the document has no lock.
class XPML_Document {
 public:
  /// Registers the general commands. The memory of what it holds is taken of the allowance, when there is one; once
  /// that is exceeded no further handler runs, and Parse throws std::bad_alloc.
  explicit XPML_Document(TextAllowance* allowance = nullptr);
  virtual ~XPML_Document();
  XPML_Document(const XPML_Document&) = delete;
  XPML_Document& operator=(const XPML_Document&) = delete;

  /// Back to the initial state: no section, no open elements, no pending output, no interruption. The handlers and
  /// the hold text stay. Handlers must not call it.
  void Reset();

  /// Feeds the next chunk. True when all of it was taken. False when the text handler refused at the start
  /// (`consumed` is then where the chunk was to be resumed) or at the end (all consumed), or when pending output or a
  /// cleared continue flag stopped the parser after some byte: `consumed` is then 0, and the same chunk, fed again
  /// from its beginning, goes on behind that byte. What a handler throws passes through; the same chunk, fed again,
  /// goes on where it was thrown: behind the tag, or with the same plain text.
  bool Parse(const char* data, int length, int* consumed = nullptr);

  /// The stream has ended: bytes that might have begun a section are plain text after all, and so is, outside a
  /// section, the content of elements that were never closed. Hands the plain text on; false when it was refused.
  bool EndStream();

  /// Appends a handler; returns its index. Of several with one path the first runs.
  int RegisterHandler(const OString& path, HandlerFunction function, void* context);
  /// Appends the rows of a table that outlives the document, all with one context.
  void RegisterCommands(std::span<const XPML_Command> commands, void* context);
  /// Replaces the handler of plain text. It reads the text with PlainText; false leaves the text for the next call.
  void SetTextHandler(HandlerFunction function, void* context);
  /// Runs the handler of a path; true when there is none.
  bool RunHandler(std::string_view path);

  /// Since the reset some content was longer than it may be, and its end is gone.
  bool IsCut() const { return cut_; }
  /// How many elements are open.
  size_t Depth() const { return elements_.Depth(); }
  /// The innermost open element, or null.
  const XPML_Element* CurrentElement() const { return elements_.Top(); }
  /// The content of the innermost open element, or the plain text collected so far. Valid until the document is fed.
  TextBuffer& CurrentText();
  TextBuffer& HoldText() { return holdText_; }
  /// The plain text to be handled; valid only while the text handler runs.
  std::string_view PlainText() const { return plainText_; }

  /// Attributes of the innermost element: those of the outermost open element of the same name that carries them. An
  /// attribute written with an empty value is there; as a boolean or a number it gives the default.
  std::string_view GetAttribute(std::string_view name, std::string_view defaultValue = {}) const;
  /// "false" and "0" are false, whatever else is written is true.
  bool GetAttributeBool(std::string_view name, bool defaultValue) const;
  LONG GetAttributeInt(std::string_view name, LONG defaultValue) const;
  /// The attribute of the outermost open element of that name that carries it. Names are compared exactly.
  std::string_view FindAttribute(std::string_view element, std::string_view name,
                                 std::string_view defaultValue = {}) const;

  /// When cleared the parser stops after the current byte.
  void SetContinue(bool value) { continue_ = value; }
  bool Continue() const { return continue_; }

  /// Null when there is nothing pending.
  PendingOutput* Pending() { return pending_.data ? &pending_ : nullptr; }
  /// Replaces the pending output by a copy of the bytes.
  void SetPending(std::string_view bytes);
  void FreePending() { pending_ = PendingOutput(); }

 private:
  enum class Mode { Text, MatchingStart, Tag, Entity };

  const char* Step(const char* at, const char* runEnd, const char* end);
  const char* MatchStart(const char* at, const char* end);
  const char* ReadPlain(const char* at, const char* runEnd, const char* end);
  const char* ReadSection(const char* at, const char* runEnd);
  const char* ReadTag(const char* at, const char* runEnd);
  const char* ReadEntity(const char* at, const char* runEnd);

  bool ParseFrom(const char* at, const char* end);
  void Abandon(const char* data);
  bool Interrupted() const { return pending_.data || !continue_; }
  static bool OpensElement(const Tag& tag);
  bool Call(const XPML_Handler& handler);
  void ProcessTag(const Tag& tag);
  void CloseElement(std::string_view name);
  void PopElement();
  void KeepContent();

  void AppendRun(const char* from, const char* to);
  void AppendBytes(std::string_view bytes);
  void AppendTo(TextBuffer& text, std::string_view bytes);
  void KeepRun();
  bool FlushText();

  PendingOutput pending_;
  ElementStack elements_;
  HandlerTable handlers_;
  XPML_Handler textHandler_;  // without a function when there is none

  // The plain text not yet handed on: first topText_, then the bytes of the chunk between runBegin_ and runEnd_. The
  // run exists only while Parse runs.
  TextBuffer topText_;
  const char* runBegin_ = nullptr;
  const char* runEnd_ = nullptr;
  std::string_view plainText_;

  TextBuffer tagText_;
  char entity_[6];  // an entity's first bytes, all that count
  size_t entityLength_ = 0;
  TextBuffer holdText_;

  const char* position_ = nullptr;  // in Parse, while a handler runs: where parsing goes on

  Mode mode_ = Mode::Text;
  bool inSection_ = false;
  char startMatch_[6];
  size_t startMatchCount_ = 0;
  int resumeOffset_ = 0;
  bool cut_ = false;        // a text was longer than it may be
  bool textLost_ = false;   // for want of memory, so that nothing behind it may be taken any more
  bool flushOwed_ = false;  // the text at a chunk's end was not handed on, because the text handler threw
  bool continue_ = true;
};

}  // namespace portwise
