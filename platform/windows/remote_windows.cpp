#include "platform/windows/remote_windows.h"

#include <sys/socket.h>

#include <thread>

#include "platform/kernel/fail.h"
#include "platform/kernel/unique_fd.h"
#include "platform/spooler/channel.h"
#include "platform/spooler/frame.h"
#include "platform/windows/desktop.h"
#include "platform/windows/presence.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

using Json = nlohmann::json;

Json RequestOf(const char* operation, HWND window, UINT message = 0, WPARAM wParam = 0, LPARAM lParam = 0) {
  return Json{{"op", operation},
              {"window", NumberOf(window)},
              {"message", message},
              {"wParam", wParam},
              {"lParam", static_cast<std::int64_t>(lParam)}};
}

/// The request travels in a thread of its own, so that the calling one is free for what is sent to it.
std::optional<LRESULT> AskAndServe(HWND window, Json request, DWORD timeout) {
  auto call = std::make_shared<SentCall>();
  call->sender = CurrentQueue();
  std::thread([call, place = PlaceOf(window), asked = std::move(request)] {
    const auto answer = AskPlace(place, asked);
    std::lock_guard lock(WindowLock());
    FinishCall(*call, answer ? std::optional<LRESULT>(answer->value("result", LRESULT{0})) : std::nullopt);
  }).detach();
  return AwaitCall(call, timeout);
}

}  // namespace

std::optional<Json> AskPlace(unsigned place, const Json& request) {
  const SpoolerAddress address(WindowsFolder(), std::to_string(place));
  const UniqueFd client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  Message reply;
  if (connect(client.Get(), reinterpret_cast<const sockaddr*>(&address.Get()), sizeof(sockaddr_un)) != 0 ||
      !SendFrame(client.Get(), {request, {}}) || !ReceiveFrame(client.Get(), &reply)) {
    return std::nullopt;
  }
  const auto done = reply.head.find("done");
  return done != reply.head.end() && *done == true ? std::optional<Json>(std::move(reply.head)) : std::nullopt;
}

bool IsRemote(HWND window) {
  const unsigned place = PlaceOf(window);
  if (place < 2 || reinterpret_cast<ULONG_PTR>(window) > 0x7FFFFFFF || place == OwnPlace()) return false;
  std::lock_guard lock(WindowLock());
  return !WindowTree::Get().Has(window);
}

std::optional<LRESULT> RemoteSend(HWND window, UINT message, WPARAM wParam, LPARAM lParam, DWORD timeout) {
  return AskAndServe(window, RequestOf("send", window, message, wParam, lParam), timeout);
}

bool RemotePost(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return AskPlace(PlaceOf(window), RequestOf("post", window, message, wParam, lParam)) ||
         Fail(ERROR_INVALID_WINDOW_HANDLE);
}

std::optional<LRESULT> RemoteChange(const char* operation, HWND window, WPARAM argument) {
  return AskAndServe(window, RequestOf(operation, window, 0, argument), INFINITE);
}

std::optional<Json> RemoteState(HWND window) {
  auto state = AskPlace(PlaceOf(window), RequestOf("state", window));
  if (!state) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return state;
}

}  // namespace portwise::platform
