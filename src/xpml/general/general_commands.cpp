#include "xpml/general/general_commands.h"

#include "xpml/general/encode_command.h"
#include "xpml/general/file_command.h"
#include "xpml/general/message_command.h"
#include "xpml/general/text_commands.h"
#include "xpml/general/variable_commands.h"

namespace portwise {
namespace {

constexpr XPML_Command kCommands[] = {
    {"/encode", RunEncode},       {"/file", RunFile},       {"/get", RunGet},
    {"/lowercase", RunLowercase}, {"/message", RunMessage}, {"/pop", RunPop},
    {"/push", RunPush},           {"/reverse", RunReverse}, {"/set", RunSet},
    {"/uppercase", RunUppercase},
};

}  // namespace

std::span<const XPML_Command> GeneralCommands() { return kCommands; }

}  // namespace portwise
