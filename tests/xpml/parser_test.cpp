#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <random>

#include "tests/xpml/model_document.h"
#include "xpml/document.h"
#include "xpml/request.h"

namespace portwise {
namespace {

using namespace std::string_view_literals;

/// What one run over a stream saw: the handlers' calls in order with what they could read, and the plain text.
struct Trace {
  std::vector<std::string> calls;
  std::vector<std::string> texts;
  std::string output;
  int textCalls = 0;
  int interruptEvery = 0;  // this text call, and every multiple, leaves half of its bytes pending
  int refuseEvery = 0;     // this text call, and every multiple, is refused
  std::string pending;

  bool Refuses() { return refuseEvery > 0 && ++textCalls % refuseEvery == 0; }
  /// The bytes left pending of a text that is taken.
  std::string TakeText(const std::string& text) {
    texts.push_back(text);
    if (interruptEvery == 0 || texts.size() % static_cast<size_t>(interruptEvery) != 0) {
      output += text;
      return "";
    }
    output += text.substr(0, text.size() / 2);
    return text.substr(text.size() / 2);
  }
};

constexpr const char* kPaths[] = {"a", "/a", "/b", "/stop", "/eat"};

/// What the handlers of both parsers do to the content on top.
std::string Rewrite(const std::string& path, const std::string& content) {
  if (path == "/b") return "[" + content + "]";
  if (path == "/eat") return "";
  if (path == "a") return content + "+";
  return content;
}

class RealRun {
 public:
  explicit RealRun(Trace& trace) : trace_(trace) {
    for (const char* path : kPaths) {
      contexts_.push_back({this, path});
    }
    for (auto& context : contexts_) document_.RegisterHandler(context.path.c_str(), OnElement, &context);
    document_.SetTextHandler(OnText, this);
  }

  bool Feed(const std::string& chunk, int* consumed) {
    return document_.Parse(chunk.data(), static_cast<int>(chunk.size()), consumed);
  }
  bool ClearInterruption() {
    const bool interrupted = document_.Pending() || !document_.Continue();
    if (PendingOutput* pending = document_.Pending()) {
      trace_.output.append(pending->data.get() + pending->offset, pending->length);
      document_.FreePending();
    }
    document_.SetContinue(true);
    return interrupted;
  }

 private:
  struct Context {
    RealRun* run;
    std::string path;
  };

  static bool OnElement(XPML_Document& document, void* opaque) {
    const auto* context = static_cast<Context*>(opaque);
    TextBuffer& text = document.CurrentText();
    const std::string content(text.View());
    context->run->trace_.calls.push_back(context->path + ":" + std::string(document.GetAttribute("x", "(none)")) + ":" +
                                         std::string(document.FindAttribute("b", "y", "(none)")) + ":" + content);
    text.Clear();
    text.Append(Rewrite(context->path, content));
    if (context->path == "/stop") document.SetContinue(false);
    return false;
  }

  static bool OnText(XPML_Document& document, void* opaque) {
    auto* run = static_cast<RealRun*>(opaque);
    if (run->trace_.Refuses()) return false;
    const std::string rest = run->trace_.TakeText(std::string(document.PlainText()));
    if (!rest.empty()) document.SetPending(rest);
    return true;
  }

  Trace& trace_;
  std::vector<Context> contexts_;
  XPML_Document document_;
};

class ModelRun {
 public:
  explicit ModelRun(Trace& trace) : trace_(trace) {
    model_.onElement = [this](ModelDocument& model, const std::string& path) {
      if (std::find(std::begin(kPaths), std::end(kPaths), path) == std::end(kPaths)) return;
      ModelDocument::Element& top = model.stack.back();
      trace_.calls.push_back(path + ":" + model.Find(top.name, "x") + ":" + model.Find("b", "y") + ":" + top.content);
      top.content = Rewrite(path, top.content);
      if (path == "/stop") model.goOn = false;
    };
    model_.onText = [this](ModelDocument& model, const std::string& text) {
      if (trace_.Refuses()) return false;
      const std::string rest = trace_.TakeText(text);
      if (!rest.empty()) {
        model.pending = true;
        trace_.pending = rest;
      }
      return true;
    };
  }

  bool Feed(const std::string& chunk, int* consumed) { return model_.Parse(chunk, consumed); }
  bool ClearInterruption() {
    const bool interrupted = model_.pending || !model_.goOn;
    trace_.output += std::exchange(trace_.pending, "");
    model_.pending = false;
    model_.goOn = true;
    return interrupted;
  }

 private:
  Trace& trace_;
  ModelDocument model_;
};

/// Feeds the chunks as the print path does: an interrupted chunk is fed again until it is taken. Results go into the
/// trace, so that they are compared too.
template <class Run>
Trace RunOver(const std::vector<std::string>& chunks, int interruptEvery, int refuseEvery) {
  Trace trace;
  trace.interruptEvery = interruptEvery;
  trace.refuseEvery = refuseEvery;
  Run run(trace);
  for (const std::string& chunk : chunks) {
    for (int tries = 0; tries < 1000; ++tries) {
      int consumed = -1;
      const bool taken = run.Feed(chunk, &consumed);
      trace.calls.push_back("parse:" + std::to_string(taken) + ":" + std::to_string(consumed));
      const bool interrupted = run.ClearInterruption();
      if (taken || !interrupted) break;
    }
  }
  return trace;
}

std::string RandomStream(std::mt19937& random) {
  static constexpr auto kLong = "plain text longer than the 64 bytes that are looked at in one step"sv;
  // The first ones, and what closes them, come more often.
  static constexpr std::string_view pieces[] = {
      "<xpml>"sv,     "<xpml>"sv,     "<xpml>"sv,          "</xpml>"sv, "</xpml>"sv, "<a x='1'>"sv,
      "<a>"sv,        "</a>"sv,       "<b y=\"2\" x=3>"sv, "</b>"sv,    "<b/>"sv,    "<stop/>"sv,
      "</eat>"sv,     "<eat x=''>"sv, "<c z = 'q' w>"sv,   "</ >"sv,    "<>"sv,      "< a / >"sv,
      "&lt;"sv,       "&#65;"sv,      "&nbsp;"sv,          "&"sv,       ";"sv,       "<"sv,
      ">"sv,          "'"sv,          "<a x='unclosed>"sv, "plain"sv,   "\r\n"sv,    "<xp"sv,
      "<xpml"sv,      "x"sv,          "<<xpml>>"sv,        "a=b/"sv,    "&#300;"sv,  "<b\ty='1'>"sv,
      "\0\x01\xff"sv, kLong};
  std::string stream;
  for (int count = static_cast<int>(random() % 40); count > 0; --count) stream += pieces[random() % std::size(pieces)];
  return stream;
}

/// Cuts the stream at random.
std::vector<std::string> Cut(const std::string& stream, std::mt19937& random) {
  std::vector<std::string> chunks;
  size_t from = 0;
  const unsigned largest = 1 + random() % (random() % 3 == 0 ? 200 : 20);
  while (from < stream.size()) {
    const size_t to = std::min(stream.size(), from + random() % (largest + 1));
    chunks.push_back(stream.substr(from, to - from));
    from = to;
  }
  return chunks;
}

TEST(XpmlParser, DoesWhatTheModelDoesCallByCall) {
  std::mt19937 random(1);
  for (int round = 0; round < 8000; ++round) {
    const std::string stream = RandomStream(random);
    const auto chunks = round % 4 == 0 ? std::vector{stream} : Cut(stream, random);
    const int interrupt = static_cast<int>(random() % 4);
    const int refuse = random() % 3 == 0 ? 2 + static_cast<int>(random() % 3) : 0;
    const Trace real = RunOver<RealRun>(chunks, interrupt, refuse);
    const Trace model = RunOver<ModelRun>(chunks, interrupt, refuse);
    ASSERT_EQ(real.calls, model.calls) << stream;
    ASSERT_EQ(real.texts, model.texts) << stream;
    ASSERT_EQ(real.output, model.output) << stream;
  }
}

TEST(XpmlParser, FindsASectionWhereverTheChunksEnd) {
  // 64 bytes are looked at in a step: the section begins at the end of one.
  const std::string before(56, '.'), after(70, '.');
  const std::string stream = before + "a<<x<xp<xpml>b<reverse>dc</reverse></xpml><<<xpml/><" + after;
  for (size_t first = 0; first <= stream.size(); ++first) {
    for (size_t second = first; second <= stream.size(); ++second) {
      TextBuffer reply;
      XPML_Document document;
      BindDocumentToPort(nullptr, document, reply);
      for (const auto& [from, to] : {std::pair(size_t{0}, first), {first, second}, {second, stream.size()}}) {
        const std::string chunk = stream.substr(from, to - from);
        document.Parse(chunk.data(), static_cast<int>(chunk.size()));
      }
      document.EndStream();
      ASSERT_EQ(reply.View(), before + "a<<x<xpbcd<<<xpml/><" + after) << first << ", " << second;
    }
  }
}

TEST(XpmlParser, HandlesAttributesByTheirRules) {
  XPML_Document document;
  std::string seen;
  document.RegisterHandler(
      "gauge",
      [](XPML_Document& open, void* result) {
        *static_cast<std::string*>(result) = std::string(open.GetAttribute("name", "-")) + "|" +
                                             std::string(open.GetAttribute("value", "-")) + "|" +
                                             (open.GetAttributeBool("value", true) ? "true" : "false") + "|" +
                                             std::to_string(open.GetAttributeInt("value", -7));
        return true;
      },
      &seen);
  const std::pair<const char*, const char*> rows[] = {
      {"<gauge name=\"v\" value='a b'>", "v|a b|true|0"},
      {"<gauge name=v value=a b>", "v|a|true|0"},
      {"<gauge name = 'v' value=''>", "v||true|-7"},
      {"<gauge value=FALSE>", "-|FALSE|false|0"},
      {"<gauge value=' -12x'>", "-| -12x|true|-12"},
      {"<gauge value=99999999999>", "-|99999999999|true|2147483647"},
      {"<gauge name=1 name=2 value=0>", "1|0|false|0"},
      {"<gauge value='a>b'>", "-|-|true|-7"},  // a > ends the tag inside quotes too
      {"<gauge\tvalue=1>", ""},                // a tab belongs to the name
      {"<gauge value=outer><gauge value=inner name=n>", "n|outer|true|0"},
  };
  for (const auto& [tag, expected] : rows) {
    document.Reset();
    seen.clear();
    const std::string text = std::string("<xpml>") + tag;
    document.Parse(text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(seen, expected) << tag;
  }
}

bool LookUp(XPML_Document& document, void*) {
  return document.GetAttribute("missing") == document.FindAttribute("mark", "a", "none");
}

double SecondsFor(const std::string& markup) {
  XPML_Document document;
  for (const char* path : {"deep", "/deep", "/mark"}) document.RegisterHandler(path, LookUp, nullptr);
  const auto begin = std::chrono::steady_clock::now();
  document.Parse("<xpml>", 6);
  document.Parse(markup.data(), static_cast<int>(markup.size()));
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

std::string Times(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

TEST(XpmlParser, TakesTimeInProportionToTheMarkup) {
  const auto nested = [](int n) { return Times(n, "x<deep y='1'>") + Times(n, "</deep>"); };
  const auto manyNames = [](int n) {
    std::string markup = Times(n, "<x>");
    for (int i = 0; i < n; ++i) markup += "<n" + std::to_string(i) + "></mark>";
    return markup;
  };
  const auto manyAttributes = [](int n) { return "<mark " + Times(n, "b=1 ") + ">" + Times(n, "<mark/>"); };
  for (const auto& make : {std::function<std::string(int)>(nested), std::function<std::string(int)>(manyNames),
                           std::function<std::string(int)>(manyAttributes)}) {
    // Eight times the markup; quadratic work would take 64 times as long.
    const double small = SecondsFor(make(10000)), large = SecondsFor(make(80000));
    EXPECT_LT(large, 32 * small + 0.2) << make(1);
  }
}

TEST(XpmlParser, GoesOnWhereAHandlerThrew) {
  struct Thrower {
    std::string output;
    int throws;
  };
  for (int run = 0; run < 16; ++run) {
    const std::string end = run % 2 ? "<xpml>g<a>h</a>" : "";
    const std::string stream = "ab<xpml><boom><uppercase>c</uppercase></boom>d</xpml>e<xpml></xpml>f" + end;
    Thrower thrower{"", run / 2};
    XPML_Document document;
    bool boom = true;
    document.SetTextHandler(
        [](XPML_Document& open, void* context) {
          auto* sink = static_cast<Thrower*>(context);
          const int left = sink->throws--;
          if (left == 0 || left == -1) throw std::runtime_error("text");
          sink->output += open.PlainText();
          return true;
        },
        &thrower);
    document.RegisterHandler(
        "/boom",
        [](XPML_Document&, void* first) -> bool {
          if (std::exchange(*static_cast<bool*>(first), false)) throw std::runtime_error("command");
          return true;
        },
        &boom);
    for (int thrown = 0; thrown < 4; ++thrown) {
      const auto chunk = std::make_unique<std::string>(stream);  // gone before the parser is fed again
      try {
        document.Parse(chunk->data(), static_cast<int>(chunk->size()));
        break;
      } catch (const std::runtime_error&) {
      }
    }
    EXPECT_EQ(thrower.output, run % 2 ? "abCdefgh" : "abCdef") << run;
  }
}

TEST(XpmlParser, SurvivesMegabytesWithoutAnEnd) {
  const std::string megabyte(1 << 20, 'q');
  for (const char* opening : {"<xpml><", "<xpml>&", "<xpml><a>", "<xpml><a x='"}) {
    XPML_Document document;
    TextBuffer reply;
    BindDocumentToPort(nullptr, document, reply);
    document.Parse(opening, static_cast<int>(std::strlen(opening)));
    for (int i = 0; i < 300; ++i) {
      ASSERT_TRUE(document.Parse(megabyte.data(), static_cast<int>(megabyte.size())));
    }
    EXPECT_EQ(reply.Length(), 0u);
    document.Reset();
    document.Parse("plain", 5);
    EXPECT_EQ(reply.View(), "plain");
  }
}

TEST(TextBuffer, StopsAtItsLimitAndKeepsItsContent) {
  TextBuffer buffer;
  const std::string chunk(TextBuffer::kMaxLength / 4, 'x');
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(buffer.Append(chunk));
  EXPECT_FALSE(buffer.Append('y'));
  EXPECT_EQ(buffer.Length(), TextBuffer::kMaxLength);
  EXPECT_TRUE(buffer.Terminate());
  EXPECT_EQ(buffer.Data()[buffer.Length()], '\0');
  TextStack stack;
  stack.Append("outer");
  const size_t outer = stack.Push();
  stack.Append(chunk);
  stack.Clear();
  EXPECT_TRUE(stack.Pop(outer));
  EXPECT_EQ(stack.View(), "outer") << "memory is given back only where nobody else's content lies in it";
  EXPECT_EQ(stack.Push(), outer);
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(stack.Append(chunk));
  EXPECT_FALSE(stack.Pop(outer)) << "each fits, both do not";
  EXPECT_EQ(stack.View(), "outer");
}

}  // namespace
}  // namespace portwise
