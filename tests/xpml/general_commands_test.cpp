#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "platform/eventlog/event_reader.h"
#include "platform/kernel/system_modules.h"
#include "tests/support/files.h"
#include "tests/support/print_ostring.h"
#include "tests/support/temporary_home.h"
#include "tests/support/xpml_examples.h"
#include "xpml/request.h"

namespace portwise {
namespace {

using std::string_literals::operator""s;

std::string Reply(std::string_view request) {
  TextBuffer reply;
  ExecuteRequest(nullptr, request, reply);
  return std::string(reply.View());
}

TEST(GeneralCommands, DoWhatTheirAttributesSay) {
  const std::string megabyte(1 << 20, 'h'), kilobyte(1 << 10, 'c');
  const std::string longest(32000, 'h');  // Windows' variables have an end
  const std::pair<std::string, std::string> rows[] = {
      // the markup itself
      {"", ""},
      {"<a><b/>x</a>", "x"},
      {"&LT;&gt;&QUOT;&amp;", "<>\"&"},
      {"&#65;&#321;&#000065;&nbsp;&apos;&#x41;&;", "AA\6??\0?"s},
      {"</xpml>abc &lt; <a>", "abc &lt; <a>"},
      {"<Query value='total' action='get'/>", ""},
      {"<uppercase>a<lowercase>B</lowercase>c</uppercase>", "ABC"},
      {"<unknown>1<reverse>cba</reverse>2</unknown>", "1abc2"},
      {"<push>abc</push>x<pop/>", "xabc"},
      {"</uppercase>x", "x"},
      {"<a>b</uppercase>", "B"},
      {"<uppercase/a></uppercase>", ""},
      // the commands
      {"<set>x</set><set name=''>y</set><set name='A=B'>z</set><get name='A=B'/><get/>", "xy"},
      {"<set name='N' copy='1'>42</set>;<get name='n'>8</get>;<get type='long'>1</get>", "42;842;1"},
      {"<set name='N'>4&#0;2</set><get name='N'/><set name='N'></set><get name='N'/>", "4"},
      {"<get name='missing'/><get name='missing' type='DWord'/><get name='missing' type='long long'>1</get>",
       "\0\0\0\0001"s},
      {"<set name='N'>2</set><get name='N' type='short'>1</get><get name='N' type='BYTE'/>", "\x0C\0\2"s},
      {"<set name='N'>258</set><get name='N' type='long' reverse='yes'/><get name='N' reverse='false'/>",
       "\0\0\1\2"s
       "258"},
      {"<set name='N'>99999999999x</set><get name='N' type='dword'/><get name='N' type='char'/>",
       "\xFF\xFF\xFF\x7F\xFF"s},
      {"<set name='N'>-42</set><get name='N' type='int' length='6'/><get name='N' type='word'/>", "-00042\xD6\xFF"},
      {"<get name='N' type='int' length='63'/>", "-" + std::string(60, '0') + "42"},
      {"<get name='N' type='int' length='64'/><get name='N' type='int' length='-9'/><get name='N' type='int'/>",
       "-42-42-42"},
      {"<set name='" + longest + "'>" + longest + "</set><get name='" + longest + "'/>", longest},
      {"<set name='\xD0\x96\xFF'>\x80\xFE</set><get name='\xD0\x96\xFF' reverse='1'/>", "\xFE\x80"},
      {"<pop/><push>a&#0;b</push><push>c</push>x<pop>y</pop><pop/>", "xya\0bc"s},
      {"<reverse>ab&#0;cd</reverse><uppercase>a\xE4&#0;b</uppercase><lowercase>[A]Z</lowercase>",
       "ba\0cdA\xE4\0b[a]z"s},
      {"<encode in='lz77;;x;BASE64'>YWI=</encode><get name='encode_size_in'/><get name='encode_size_out'/>", "ab42"},
      {"<encode out='base64;lz77;base64'>a</encode>;<encode in=lz77>ZLIB&#0;&#0;&#0;&#0;&#0;&#0;&#0;&#0;</encode>",
       "WkxJQgQAAAAMAAAAeJyLDLS1BQADEgEl;ZLIB\0\0\0\0\0\0\0\0"s},
      {"<encode out='hex' line_length='2' line_footer='\r\n'>&#1;&#254;</encode>", "01FE\r\n\r\n"},
      {"<encode out='hex' line_length='2' line_footer=';'>abc</encode>", "6162;63;"},
      {"<encode out='hex' line_length='3' hex_segment='2' space='-' line_header='['>abcdefg</encode>",
       "[6162-63[6465-66[67"},
      {"<encode out='hex' line_length='x' hex_segment='x' space='-' line_header='[' line_footer=']'>abc</encode>",
       "[616263]"},
      {"<encode out='hex' line_header='[' line_footer=']' space='-'/>", "]"},
      // What has no room is not done, and the steps of a list are counted.
      {"<encode out='hex' line_length='1' line_header='" + megabyte + "'>" + kilobyte + "</encode>", kilobyte},
      {"<encode in='" + std::string(megabyte.size() / 5, ';') + "' out='hex'>a</encode>", "61"},
  };
  for (const auto& [request, reply] : rows)
    EXPECT_TRUE(Reply(request) == reply) << request.substr(0, 200) << Reply(request).substr(0, 200);
  std::string many;
  for (int i = 0; i < 200000; ++i) many += "lz77;";
  EXPECT_LT(Reply("<encode out='" + many + "'>a</encode>").size(), 10000u);
}

TEST(GeneralCommands, ReplyAsThePageForUsersSays) {
  TemporaryHome home;
  int run = 0;
  for (const XpmlExample& example : ReadXpmlExamples(PORTWISE_DOCS "/xpml.md")) {
    if (!example.needs.empty()) continue;
    EXPECT_EQ(Reply(example.request), example.reply) << example.request;
    ++run;
  }
  EXPECT_GT(run, 10);
}

TEST(GeneralCommands, FilesAreWrittenReadAndSkipped) {
  TemporaryHome home;
  const std::string at = home.Path().string() + "/";
  WriteBytes(at + "old", "1\0\xFF"s);
  const auto file = [&](const std::string& attributes, const std::string& content = "") {
    return Reply("<file " + attributes + ">" + content + "</file>");
  };
  EXPECT_EQ(file("load='" + at + "old'", "0"), "01\0\xFF"s);
  EXPECT_EQ(file("save='" + at + "new' append=1 copy=1", "ab"), "ab");
  EXPECT_EQ(file("save='" + at + "new' append=true load='" + at + "new'", "c"), "abc");
  EXPECT_EQ(file("save='" + at + "new'", "&#0;"), "");
  EXPECT_EQ(ReadBytes(at + "new"), "\0"s);
  EXPECT_EQ(file("save='" + at + "no/where' load='" + at + "none'", "lost"), "");
  EXPECT_EQ(file("save='" + at + "' load='" + at + "' copy=1", "kept"), "kept");
  EXPECT_EQ(file("load='/dev/zero'", "kept"), "kept") << "endless";
  EXPECT_EQ(file("", "kept"), "kept");
  EXPECT_EQ(Reply("<file save='C:\\t.bin' copy='true'>data</file>"), "data");
  EXPECT_EQ(ReadBytes(home.Drive() / "t.bin"), "data");
}

/// The programs check what a request with `in` as the file to load has left in `out`, or make `in` of what it left.
TEST(GeneralCommands, AgreeWithTheProgramsOfOthers) {
  TemporaryHome home;
  const std::string folder = home.Path().string();
  const std::pair<const char*, const char*> rows[] = {
      {"<encode out='base64'>", "base64 -w0 raw | cmp - out"},
      {"<encode in='base64'>", "base64 -w0 raw > in"},
      {"<encode out='hex' line_length='16' line_footer='\n'>", "xxd -p -u -c 16 raw | cmp - out"},
      {"<encode out='hex' line_length='8' line_header=' ' space=' ' line_footer='\n'>",
       "od -An -v -tx1 -w8 raw | tr a-f A-F | diff -bB - out"},
      {"<encode out='lz77'>",
       "python3 -c \"import zlib,struct as s; r,o=[open(n,'rb').read() for n in ('raw','out')];"
       "assert o[:4]==b'ZLIB' and s.unpack('<II',o[4:12])==(len(r),len(o)-12) and zlib.decompress(o[12:])==r\""},
      {"<encode in='lz77'>",
       "python3 -c \"import zlib,struct as s; r=open('raw','rb').read(); z=zlib.compress(r,9);"
       "open('in','wb').write(b'ZLIB'+s.pack('<II',len(r),len(z))+z)\""},
  };
  std::mt19937 random(5);
  std::string raw(100001, '\0');
  for (char& byte : raw) byte = static_cast<char>(random() % 3 == 0 ? 0 : random());
  WriteBytes(folder + "/raw", raw);
  const auto shell = [&](const std::string& command) {
    return std::system(("cd " + folder + " && " + command).c_str());
  };
  for (const auto& [tag, command] : rows) {
    const bool decodes = std::string(tag).find(" in=") != std::string::npos;
    WriteBytes(folder + "/in", raw);
    ASSERT_TRUE(!decodes || shell(command) == 0) << tag;
    Reply("<file save='" + folder + "/out'>" + tag + "<file load='" + folder + "/in'/></encode></file>");
    EXPECT_EQ(shell(decodes ? "cmp raw out" : command), 0) << tag;
  }
  std::string numbers = "<file save='" + folder + "/out'>";
  for (const char* number : {"0", "-1", "65535", "-2147483648", "2147483647", "305419896"}) {
    numbers += "<set name='N'>"s + number + "</set>";
    for (const char* type : {"long", "word", "byte"}) numbers += "<get name='N' type='"s + type + "'/>";
  }
  Reply(numbers + "</file>");
  EXPECT_EQ(shell("python3 -c \"import struct as s; assert open('out','rb').read()==b''.join("
                  "s.pack('<IHB',n&0xFFFFFFFF,n&0xFFFF,n&0xFF) for n in (0,-1,65535,-2**31,2**31-1,305419896))\""),
            0);
}

std::vector<std::string> boxes;
DWORD stationFlags = 1;
DWORD session = 1;
int WINAPI ShowBox(HWND owner, LPCSTR text, LPCSTR caption, UINT style) {
  boxes.push_back(std::string(caption) + "|" + text + "|" + std::to_string(style) + (owner ? "owned" : ""));
  return 1;
}
HANDLE WINAPI Station() { return &stationFlags; }
BOOL WINAPI Information(HANDLE, int index, void* information, DWORD size, DWORD*) {
  if (index != 1 || size != 12) return FALSE;
  static_cast<DWORD*>(information)[2] = stationFlags;
  return TRUE;
}
BOOL WINAPI SessionOf(DWORD process, DWORD* id) {
  *id = session;
  return process == GetCurrentProcessId();
}

/// A desktop that answers message boxes, in front of which there may be somebody.
void MakeDesktop() {
  platform::RegisterSystemModule("Kernel32.dll", {{"ProcessIdToSessionId", platform::AsFarProc(SessionOf)}});
  platform::RegisterSystemModule("User32.dll", {{"MessageBoxA", platform::AsFarProc(ShowBox)},
                                                {"GetProcessWindowStation", platform::AsFarProc(Station)},
                                                {"GetUserObjectInformationW", platform::AsFarProc(Information)}});
  stationFlags = session = 1;
  boxes.clear();
}

TEST(GeneralCommands, MessagesReachWhoeverIsThere) {
  TemporaryHome home;
#ifdef _WIN32
  MakeDesktop();
  session = 0;
#endif
  EXPECT_EQ(Reply("<message>nobody's desktop</message>"), "");
  MakeDesktop();
  const std::string dollars(3 << 20, '$'), open = dollars + "[";
  const std::pair<std::string, std::string> rows[] = {
      {"<job name='J&' id='7'><message title='T' copy='1'>$job[name]=$job[id]$job[x]$none[id].</message></job>",
       "T|J&=7.|0"},
      {"<message title='T'>$message[title]$ $x] $$y[z]] $x[</message>", "T|T] $x[|0"},
      {"<message>a&#0;b</message>", "|a|0"},
      {"<message/>", "||0"},
      {"<message>" + dollars + "</message>", "|" + dollars + "|0"},
      {"<message>" + open + "</message>", "|" + open + "|0"},
  };
  for (const auto& [request, box] : rows) {
    boxes.clear();
    const std::string reply = Reply(request);
    EXPECT_EQ(reply, request.find("copy") != std::string::npos ? "$job[name]=$job[id]$job[x]$none[id]." : "");
    EXPECT_EQ(boxes, std::vector{box});
  }
  boxes.clear();
  session = 0;
  Reply("<message title='T'>" + std::string(40000, 'x') + "</message>");
  session = 1;
  stationFlags = 0;
  Reply("<message>" + Ansi("\u00e4") + "</message>");
  EXPECT_TRUE(boxes.empty());
  std::int64_t after = 0;
  std::vector<platform::Event> events;
  ASSERT_EQ(platform::ReadEvents(&after, {"Corvane Print Monitor", EVENTLOG_INFORMATION_TYPE}, 10, &events),
            ERROR_SUCCESS);
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].strings[0], TEXT("nobody's desktop"));
  EXPECT_EQ(events[1].strings[0], TEXT("T\r\n") + WideString(31836, 'x'));
  EXPECT_EQ(events[2].strings[0], TEXT("\u00e4"));
}

TEST(GeneralCommands, TakeAnythingAtAnyDepth) {
  TemporaryHome home;
  MakeDesktop();
  std::mt19937 random(9);
  std::string content("&#0;");
  while (content.size() < 3u << 20) content += static_cast<char>(random());
  std::erase_if(content, [](char byte) { return byte == '<'; });
  const std::string huge(1 << 20, 'n');
  const std::string attributes[] = {
      "", " name=''", " name=name save=/none/s load=/none/l in=in out=out type=type length=length",
      " in='lz77;base64' out='base64;lz77;hex' line_length=-1 hex_segment=99999999999",
      " name=" + huge + " save=/" + huge + " load=" + huge + " type=" + huge + " title=" + huge};
  for (const std::string command :
       {"encode", "file", "get", "lowercase", "message", "pop", "push", "reverse", "set", "uppercase"}) {
    for (const std::string& attribute : attributes) {
      Reply("<" + command + attribute + attribute + ">" + content + "</" + command + "><" + command + attribute + "/>");
    }
    std::string nested, end;
    for (int i = 0; i < 100000; ++i) {
      nested += "<" + command + " name=none load=/none/n out=lz77>";
      end += "</" + command + ">";
    }
    EXPECT_LT(Reply(nested + "abc" + end).size(), 100000u) << command;
    Reply(nested);
  }
}

}  // namespace
}  // namespace portwise
