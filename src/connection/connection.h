#pragma once

#include <windows.h>

#include <atomic>
#include <optional>

#include "connection/port_discovery.h"
#include "connection/port_link.h"
#include "core/synchronizer.h"

namespace portwise {

enum class ConnectionKind : WORD {
  Com = 1,
  Parallel = 2,
  Usb = 4,
  Tcp = 8,
  Generic = 0x8000,
};

/// Bits of GetStatus.
constexpr DWORD STATUS_DISCONNECTED = 0x1;    ///< the printer cannot be reached
constexpr DWORD STATUS_UNIDIRECTIONAL = 0x2;  ///< the port returns nothing, so the printer cannot be monitored
constexpr DWORD STATUS_OFF_LINE = 0x10000;    ///< of a parallel printer, as are the next two
constexpr DWORD STATUS_PAPER_EMPTY = 0x20000;
constexpr DWORD STATUS_SELECTED = 0x40000;

/// Requests of Control. The first three every connection answers; the others parallel and USB ports.
constexpr DWORD CONTROL_XPML_REQUEST = 301;      ///< runs `text`; the reply's length, which may exceed what was copied
constexpr DWORD CONTROL_SEND_TIMEOUT = 401;      ///< milliseconds that the printer may take nothing
constexpr DWORD CONTROL_RESPONSE_TIMEOUT = 402;  ///< milliseconds that an answer may take
constexpr DWORD CONTROL_DEVICE_ID = 1001;        ///< the printer's IEEE 1284 device id; its length
constexpr DWORD CONTROL_SOFT_RESET = 1002;       ///< 1 when the printer was reset
constexpr DWORD CONTROL_VENDOR_GET = 1003;       ///< the three bytes at `text` go out; the length of what came back

/// The port's link to its printer: print data, status requests and answers travel through it.
///
/// One user at a time: hold the use lock (Lock, or TryLock without waiting) around every write burst and every read.
/// Only Abort may be called from any thread at any moment. The functions as they are here pass everything to the port
/// monitor beneath; their result is then the port monitor's, with the last error that it left.
class Connection {
 public:
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  virtual ~Connection() = default;

  /// Makes the connection ready for print data. Nothing happens when it is ready already.
  virtual bool Open() { return true; }
  /// The same for status requests, which some printers answer on a channel of their own.
  virtual bool OpenStatus() { return true; }
  /// The one of the two that was called last, or Open when that was closed since: for a connection that broke.
  virtual bool Reopen() { return Open(); }
  /// The user is done for now.
  virtual bool Close() { return true; }
  /// Stops all traffic at once; what that means for later calls is the class's.
  virtual void Abort() {}

  /// A print job begins. False also when the port monitor has no such call.
  virtual bool StartDoc(DWORD jobId, DWORD level, LPBYTE docInfo);
  /// A print job ends. True also when the port monitor has no such call.
  virtual bool EndDoc();

  /// Sends up to `length` bytes of `data`. `written` is set in every case, to the bytes that the printer's side took.
  virtual bool Write(const void* data, DWORD length, DWORD* written);
  /// Takes up to `size` bytes of what the printer has sent. `read` is set in every case.
  virtual bool Read(void* buffer, DWORD size, DWORD* read);

  /// Hands the timeouts to the port monitor, unless they are those that it was given last or all zero, which both
  /// count as done. False without a port handle or when the port monitor cannot take them.
  virtual bool SetTimeouts(const COMMTIMEOUTS& timeouts);

  /// A request by number. `text` is a C string, or what the request says; at most `size` bytes go to `buffer`. 0 for a
  /// request that failed or is not known.
  virtual LONG Control(DWORD code, const char* text, void* buffer, DWORD size);

  /// The status bits of `mask` that hold now.
  virtual DWORD GetStatus(DWORD /*mask*/) { return 0; }

  /// Reads the address of the printer again; true when it changed. `statusChannel` asks for that of the status
  /// channel. A connection without an address always says true.
  virtual bool RefreshAddress(bool /*statusChannel*/) { return true; }

  virtual void Lock() { useLock_.Lock(); }
  virtual void Unlock() { useLock_.Unlock(); }
  /// Takes the use lock when nobody holds it or waits for it.
  virtual bool TryLock() { return useLock_.TryLock(); }

  /// The timeouts of the class, milliseconds.
  virtual void GetDefaultTimeouts(COMMTIMEOUTS* timeouts) const { *timeouts = {}; }
  /// The timeouts that were set last, else the defaults.
  virtual void GetTimeouts(COMMTIMEOUTS* timeouts) const;

  virtual bool IsNetwork() const { return false; }
  /// Where the printer is on the network, as read last; nothing of another connection. Any thread.
  virtual std::optional<PortAddress> NetworkAddress() const { return std::nullopt; }

  /// A document with print data begins: what was taken before is none of its bytes.
  virtual void BeginCount() {}
  /// Whether what is written from now on counts as print data; it does, unless this says otherwise. Under the use lock.
  void CountAsPrintData(bool counts) { countsAsPrintData_ = counts; }
  /// How many bytes of print data were taken by a connection that was then lost, so that nobody knows whether the
  /// printer has them, since the last call.
  virtual ULONGLONG TakeUnconfirmedBytes() { return 0; }
  /// Closes what another channel to the printer is to take the place of, so that no later job could use it.
  virtual bool CloseChannel() { return Close(); }
  /// Whether a connection is just being ended, which takes as long as the printer takes data. Any thread.
  virtual bool IsEnding() const { return false; }

  /// Says whether more jobs wait for the port, which makes a network connection stay open for a while at a job's end.
  void SetKeepOpen(bool keepOpen) { keepOpen_ = keepOpen; }

  /// Binds the connection to its port, which must outlive it. Before any other use.
  void SetPortContext(PortLink* port) { port_ = port; }

  /// Where failures in what the connection is used for are reported; null for nowhere.
  FaultReport* Faults() const { return port_ != nullptr ? port_->Faults() : nullptr; }

  ConnectionKind GetKind() const { return kind_; }
  bool IsCom() const { return kind_ == ConnectionKind::Com; }
  bool IsParallel() const { return kind_ == ConnectionKind::Parallel; }
  bool IsUsb() const { return kind_ == ConnectionKind::Usb; }
  bool IsTcp() const { return kind_ == ConnectionKind::Tcp; }

 protected:
  explicit Connection(ConnectionKind kind);

  PortLink& Port() const { return *port_; }
  bool KeepOpen() const { return keepOpen_; }
  bool CountsAsPrintData() const { return countsAsPrintData_; }
  /// Sends a device request down to the port monitor. The bytes that came back, 0 when it failed.
  DWORD RequestDevice(DWORD request, const void* in, DWORD inSize, void* out, DWORD outSize, bool* done) const;

 private:
  const ConnectionKind kind_;
  PortLink* port_ = nullptr;
  std::atomic<bool> keepOpen_ = false;
  std::atomic<bool> countsAsPrintData_ = true;
  OSemaphore useLock_;
  COMMTIMEOUTS timeouts_;  // as given to the port monitor last; all bits set before that

 protected:
  mutable OSemaphore addressLock_;  // held while RefreshAddress runs
};

}  // namespace portwise
