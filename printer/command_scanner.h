#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The printer's language: commands of a fixed length inside the print data. docs/plugins.md describes it.
namespace portwise::printer {

enum class Command { kStatus, kIdentity, kBlock, kPages };

/// Finds commands in the bytes of one connection, which come in pieces of any size.
class CommandScanner {
 public:
  class Sink {
   public:
    virtual ~Sink() = default;
    virtual void OnData(std::string_view bytes) = 0;
    /// `number` is what the command's digits say, 0 without digits; `bytes` is the command itself.
    virtual void OnCommand(Command command, unsigned number, std::string_view bytes) = 0;
  };

  /// Looks for these commands only.
  explicit CommandScanner(std::vector<Command> commands) : commands_(std::move(commands)) {}

  /// Hands on what is certain; a possible beginning of a command is kept.
  void Feed(std::string_view bytes, Sink* sink);
  /// No more bytes come: what was kept is data.
  void Flush(Sink* sink);
  /// The next `bytes` bytes are data, whatever they look like. Called by the sink.
  void Pass(std::uint64_t bytes) { passing_ = bytes; }

 private:
  std::size_t Consume(std::string_view bytes, Sink* sink);

  std::vector<Command> commands_;
  std::string kept_;
  std::uint64_t passing_ = 0;
};

}  // namespace portwise::printer
