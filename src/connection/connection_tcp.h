#pragma once

#include <winsock2.h>

#include <atomic>
#include <vector>

#include "connection/connection.h"
#include "connection/delayed_close.h"
#include "connection/graceful_close.h"
#include "connection/host_look_up.h"
#include "connection/port_discovery.h"
#include "connection/socket_library.h"
#include "core/socket_handle.h"

namespace portwise {

/// A network printer, spoken to over a TCP socket of our own without the port monitor beneath. The address is what the
/// port monitor keeps of the port in the registry, and is read again whenever the connection is opened.
///
/// The print channel and the status channel, on the port number after it, share the one socket: opening either closes
/// the other. A job's end closes the connection, at once or, when more jobs wait, after the period that the settings
/// say unless it is used before; Write and Read open it when they need it, on the channel that was opened last, or the
/// print channel after Close. After Abort, Open, Write and Read fail for good with ERROR_OPERATION_ABORTED, and so does
/// a call that is under way, within a second unless it looks a name up or, in GetStatus, waits for the answer to a
/// ping. A connect ends with that error, too, while the port is being closed. Other failures leave the error of the
/// socket or of the look-up as the thread's last error, but for a Read to which nothing came.
class Connection_TCP : public Connection, private DelayedClose::Target {
 public:
  Connection_TCP();
  /// Closes in order, which may wait as Close does.
  ~Connection_TCP() override;

  /// Connects, in up to three attempts 100 ms apart where the printer refuses. A connection that stands is kept, unless
  /// the address changed or the printer has closed it meanwhile.
  bool Open() override;
  bool OpenStatus() override;
  bool Reopen() override { return OpenChannel(statusChannel_); }

  /// Ends the connection in order, now or later: the printer gets everything that was written, and what it still sends
  /// is dropped. Later only when it has acknowledged everything, for which it is waited as long as for its end.
  ///
  /// False when the printer broke the connection off, with WSAETIMEDOUT when CloseGracefully gave the wait up, and with
  /// ERROR_OPERATION_ABORTED when the wait was ended because the port is being closed or the job is being deleted. The
  /// print data that the printer has not acknowledged count as unconfirmed; a warning tells of them when the wait was
  /// given up. The system goes on delivering, as long as the printer sends nothing more.
  bool Close() override;
  void Abort() override;

  bool StartDoc(DWORD jobId, DWORD level, LPBYTE docInfo) override;
  bool EndDoc() override;

  /// Sends what the system takes at once, which may be less than `length`; waits for room for at most a second. When
  /// there was none, it returns false with nothing written and the last error WSAEWOULDBLOCK, and the connection stays
  /// open. Every other failure has closed it; one to open it again comes after a pause of 100 ms.
  bool Write(const void* data, DWORD length, DWORD* written) override;

  /// Gathers what arrives within a second of the call and then without a gap of more than 200 ms. False when that is
  /// nothing, or when the connection failed; only the latter closes it.
  bool Read(void* buffer, DWORD size, DWORD* read) override;

  /// Answers STATUS_DISCONNECTED only, from the connection when it stands and otherwise from a ping, which is sent at
  /// most every 2000 ms and may take 5000. Some networks answer no pings: then a connect decides, which stays open only
  /// for a document. An aborted connection is disconnected for good, with the last error as above.
  DWORD GetStatus(DWORD mask) override;

  bool RefreshAddress(bool statusChannel) override;
  bool IsNetwork() const override { return true; }
  /// The port number is that of the channel that was opened last.
  std::optional<PortAddress> NetworkAddress() const override;
  void BeginCount() override;
  ULONGLONG TakeUnconfirmedBytes() override;
  bool CloseChannel() override;
  bool IsEnding() const override { return endings_ > 0; }

  bool IsConnected() const { return connected_; }

 private:
  enum class Transfer { kDone, kWouldBlock, kFailed };

  /// A connection that was ended while the printer took nothing for a while. The system goes on delivering.
  struct Delivery {
    unique_socket socket;
    ULONGLONG sent;     // all that the socket took
    ULONGLONG counted;  // of which print data of the document
    ULONGLONG missing;  // as far as it was known at the end

    ULONGLONG Missing() const;
  };

  /// Where a channel is, as the registry says now.
  struct Target {
    SOCKADDR_IN address;
    DWORD lookUpError;  // 0 when the address is known
    bool changed;       // since the last one
  };

  bool OpenChannel(bool statusChannel);
  Target FindTarget(bool statusChannel);
  IN_ADDR FindHost();
  bool CloseNow() override;
  bool HasEverything();
  bool CanConnect();
  /// Has a connection that waits for its close stay open for the document that uses it.
  void KeepForDocument();
  CloseStop Stop();
  DWORD ClosePeriod() override;
  bool ConnectSocket(const SOCKADDR_IN& address);
  bool ConnectOnce(const SOCKADDR_IN& address);
  bool AwaitConnect();
  /// `sent` is all that the socket took since it was connected; `brief` as in CloseGracefully.
  bool GracefulClose(unique_socket socket, ULONGLONG sent, bool brief);
  void CountAsLost();
  void KeepDelivering(Delivery delivery);
  bool PeerHasClosed();
  bool FailAborted();
  /// Closes after `error` of the socket, which is the last error afterwards.
  void CloseAfter(int error);
  /// One send or recv that never waits. kFailed leaves the error in the thread's last error.
  Transfer SendOnce(const char* data, int length, int* sent);
  Transfer ReceiveOnce(char* buffer, int size, int flags, int* received);
  /// WSAPoll of the socket: above 0 when it is ready or failed, 0 when neither came within the time.
  int AwaitSocket(SHORT events, INT milliseconds);

  const SocketLibrary library_;

  // The state lock orders connect against close, and is held across both. The socket lock guards the handle, so that
  // Abort closes no socket that a send or a receive is in; it is taken after the state lock and never held in a wait.
  OCriticalSection stateLock_;
  OCriticalSection socketLock_;
  unique_socket socket_;
  std::atomic<bool> connected_ = false;
  std::atomic<bool> aborted_ = false;

  std::atomic<bool> statusChannel_ = false;  // was opened last

  PortAddress registered_;  // with the port number of the channel that was asked for; under the address lock
  HostLookUp lookUp_;       // under the address lock

  ULONGLONG sent_ = 0;       // bytes that the socket took since it was connected; under the socket lock
  bool carriesJob_ = false;  // it is a job's, or took print data; likewise

  // Print data of the document in progress, or of the last one: bytes that the connection has taken since it stands,
  // and those that earlier ones had taken when they were lost.
  std::atomic<ULONGLONG> taken_ = 0;
  std::atomic<ULONGLONG> unconfirmed_ = 0;
  std::vector<Delivery> deliveries_;  // under the socket lock
  std::atomic<int> endings_ = 0;      // connections that are just being ended

  OCriticalSection pingLock_;
  bool pinged_ = false;  // under pingLock_, as are the next two
  bool pingAnswered_ = false;
  DWORD pingedAt_ = 0;  // tick count

  OCriticalSection periodLock_;
  DWORD closePeriod_ = 0;  // ms, under periodLock_, as are the next two
  bool periodKnown_ = false;
  DWORD periodReadAt_ = 0;  // tick count

  DelayedClose delayedClose_{*this};  // the last member: its thread uses the others
};

}  // namespace portwise
