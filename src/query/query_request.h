#pragma once

#include <windows.h>

#include <string>

namespace portwise {

/// Where a request stands. The numbers are those that clients are told.
enum class RequestStatus : DWORD { Pending = 0, Active = 1, Complete = 2, Cancelled = 3, Failed = 4 };

/// Something to be asked of the printer, and its answer. Texts are bytes as a client wrote them. Plain data: whoever
/// holds one sees to its threads.
struct QueryRequest {
  QueryRequest() : statusTime(GetTickCount()) {}

  void SetStatus(RequestStatus newStatus) {
    status = newStatus;
    statusTime = GetTickCount();
  }
  bool IsPending() const { return status == RequestStatus::Pending; }
  /// It was run, or will never be.
  bool IsFinished() const { return status >= RequestStatus::Complete; }
  /// Whether the printer is to be sent the command, and whether its answer is awaited.
  bool Writes() const { return parameters.find("write=false;") == parameters.npos; }
  bool Reads() const { return parameters.find("read=false;") == parameters.npos; }

  std::string id;
  std::string name;
  std::string queryId;
  std::string queryName;
  std::string command;
  std::string response;
  std::string responsePattern;  ///< found in a complete response; when empty, the printer's plug-in decides
  std::string parameters;
  DWORD statusTime;                  ///< tick of the last change of the status
  DWORD sendTimeout = 0;             ///< milliseconds; 0 for the port's setting, as in the next
  DWORD receiveStartTimeout = 0;     ///< milliseconds
  DWORD receiveIntervalTimeout = 0;  ///< milliseconds, of which the connection is given half
  RequestStatus status = RequestStatus::Pending;
  DWORD startTime = 0;       ///< tick before which it is not run; 0 for none
  DWORD repeatInterval = 0;  ///< milliseconds until it is run again; 0 for once
  DWORD expirationTime = 0;  ///< tick from which it is gone; 0 for never
  ULONGLONG serial = 0;      ///< the list's own number of it
};

/// All that a person wants to know of a request, in lines that end with CR LF. Control bytes that printers use are
/// named.
std::string DumpText(const QueryRequest& request);

}  // namespace portwise
