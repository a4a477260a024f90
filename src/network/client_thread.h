#pragma once

#include <winsock2.h>

#include <atomic>
#include <string>
#include <string_view>

#include "core/socket_handle.h"
#include "network/request_budget.h"
#include "network/request_buffer.h"
#include "network/server_response.h"

namespace portwise {

class WebServerBase;

/// A client of the network service, from its connection to its end: one request is received, handled and answered, and
/// the next one when the connection is to be kept.
///
/// The events of its socket are made only when it has to wait: a client whose request is there already and whose system
/// takes the whole response needs none.
class Network_ClientThread {
 public:
  /// What is waited for, and what a client that others need the place of is judged by.
  enum class Stage { Receiving, Handling, Sending };

  Network_ClientThread(WebServerBase& server, unique_socket socket);
  /// Leaves the list of clients first.
  ~Network_ClientThread();
  Network_ClientThread(const Network_ClientThread&) = delete;
  Network_ClientThread& operator=(const Network_ClientThread&) = delete;

  /// All that the client's thread does, under its guard. Nothing escapes.
  void ThreadProc();
  /// Answers that nobody has time for the client, as far as its system takes that at once.
  void TurnAway();

  /// The request is about to be handled; false when the client was told to stop. Under the list's lock, as RequestStop.
  bool BeginHandling();

  /// Ends the waits for the client, so that others have what it takes. Any thread, as all below, as long as the client
  /// is in the list.
  void RequestStop();
  /// Ends the wait for a request: one that is there already is handled and gets its response.
  void RequestEnd();
  /// Ends the connection under a thread that has not ended in time.
  void Abandon();
  bool IsStopping() const { return stopping_; }
  Stage CurrentStage() const { return stage_; }
  /// When the client last took a part of its response, or had sent another large part of its request.
  DWORD LastProgress() const { return progress_; }
  /// What it holds of the memory that the clients have together.
  size_t BudgetTaken() const { return share_.Taken(); }

 private:
  /// What a request and its response take of the memory that the clients have together, beside the request's bytes.
  class Texts;

  void Serve();
  bool IsOver() const { return stopping_ || (ending_ && stage_ == Stage::Receiving); }
  void Wake();
  bool ReceiveRequest();
  bool Answer(bool* keep);
  bool Hold(size_t bytes, bool waits);
  bool Send(std::string_view head, std::string_view body);
  bool SendPart(std::string_view bytes);
  void Refuse();
  void Linger();
  bool Select();
  bool AwaitMore(int error, DWORD timeout);
  LONG Await(DWORD timeout);

  WebServerBase& server_;
  unique_socket socket_;
  BudgetShare share_;
  RequestBuffer request_;
  bool refused_ = false;
  unique_socket_event networkEvent_;
  unique_socket_event stopEvent_;
  std::atomic<WSAEVENT> stop_{WSA_INVALID_EVENT};  // stopEvent_, once it may be set
  std::atomic<bool> stopping_{false};
  std::atomic<bool> ending_{false};
  std::atomic<Stage> stage_{Stage::Receiving};
  std::atomic<DWORD> progress_{0};
};

}  // namespace portwise
