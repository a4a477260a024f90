#include "platform/windows/remote_requests.h"

#include <unistd.h>

#include "platform/spooler/json.h"
#include "platform/text.h"
#include "platform/windows/desktop.h"
#include "platform/windows/inspect.h"
#include "platform/windows/snapshot.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

using Json = nlohmann::json;

struct Request {
  HWND window;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
};

Json Post(const Request& request) {
  return Json{{"done", PostMessageW(request.window, request.message, request.wParam, request.lParam) != FALSE}};
}

Json Send(const Request& request) {
  const auto window = FindWindowOf(request.window);
  const auto answer =
      window ? RunOn(window->queue,
                     [request] { return CallWindow(request.window, request.message, request.wParam, request.lParam); })
             : std::nullopt;
  return Json{{"done", answer.has_value()}, {"result", static_cast<std::int64_t>(answer.value_or(0))}};
}

Json Show(const Request& request) {
  return Json{{"done", IsWindow(request.window) != FALSE},
              {"result", ShowWindow(request.window, static_cast<int>(request.wParam))}};
}

Json Activate(const Request& request) {
  return Json{{"done", IsWindow(request.window) != FALSE}, {"result", SetForegroundWindow(request.window)}};
}

Json Enable(const Request& request) {
  return Json{{"done", IsWindow(request.window) != FALSE},
              {"result", EnableWindow(request.window, request.wParam != 0)}};
}

/// What other processes may know of a window.
Json State(const Request& request) {
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(request.window);
  if (!window) return Json{{"done", false}};
  const RECT rect = WindowTree::Get().ScreenRect(*window);
  return Json{{"done", true},
              {"process", getpid()},
              {"thread", window->queue->Thread()},
              {"text", ToUtf8(window->text)},
              {"style", window->style},
              {"visible", WindowTree::Get().IsVisible(request.window)},
              {"rect", {rect.left, rect.top, rect.right, rect.bottom}}};
}

Json Inspect(const Request&) { return Json{{"done", true}, {"process", ToJson(OwnWindows())}}; }

Json Act(const Request& request) {
  return Json{
      {"done", DoAction(static_cast<Action>(request.message), request.window, static_cast<UINT>(request.wParam))}};
}

struct Row {
  const char* operation;
  Json (*answer)(const Request& request);
};
constexpr Row kRows[] = {
    {"post", Post},     {"send", Send},   {"show", Show},       {"activate", Activate},
    {"enable", Enable}, {"state", State}, {"inspect", Inspect}, {"act", Act},
};

}  // namespace

Message AnswerRequest(const Message& request) {
  try {
    const std::string operation = request.head.value("op", "");
    const Request parsed{WindowOf(request.head.value("window", 0u)), request.head.value("message", 0u),
                         request.head.value("wParam", WPARAM{0}), request.head.value("lParam", LPARAM{0})};
    for (const Row& row : kRows) {
      if (operation == row.operation) return {row.answer(parsed), {}};
    }
  } catch (const Json::exception&) {
    // Whoever asks in another way is not told anything.
  }
  return {Json{{"done", false}}, {}};
}

}  // namespace portwise::platform
