#include "network/client/xpml_client.h"

#include <winspool.h>

#include <string>

#include "core/open_printer.h"
#include "network/client/request_sender.h"
#include "network/http/http_request.h"
#include "settings/printer_registry.h"
#include "settings/settings_catalogue.h"
#include "settings/stored_request.h"

namespace portwise {
namespace {

/// What the spooler's computer has set, which the registry hides from 32-bit programs unless they ask for it.
class NetworkSettings {
 public:
  explicit NetworkSettings(const OString& printer) : registry_(printer) { registry_.SetExtraAccess(KEY_WOW64_64KEY); }

  bool IsOn(SettingId id) const {
    const Setting& setting = FindSetting(id);
    return registry_.GetBool(setting.path, setting.number != 0);
  }
  DWORD Number(SettingId id) const {
    const Setting& setting = FindSetting(id);
    return registry_.GetDword(setting.path, setting.number);
  }
  /// Where the service is; `server` is the printer's computer.
  OString Host(const OString& server) const {
    const OString host = IsOn(SettingId::NetworkBidirectional) ? server : OString("localhost");
    if (!IsOn(SettingId::ServerAddressOverride)) return host;
    return registry_.GetString(FindSetting(SettingId::ServerAddress).path, host);
  }

 private:
  PrinterRegistry registry_;
};

/// The printer as the service of its computer knows it.
void AddPrinter(const PrinterInfo& info, const OString& name, HTTPRequest* post) {
  if (info.remote && !info.shareName.IsEmpty()) {
    post->AddParameter("share", info.shareName);
  } else {
    post->AddParameter("printer", info.remote ? info.shortName : name);
  }
}

/// Why nothing is known of the printer: there is none of that name, or there is no spooler.
DWORD WhyUnknown(const OString& printer) {
  return OpenPrinterByName(printer, 0) ? ERROR_INVALID_PRINTER_NAME : GetLastError();
}

/// What the spooler answers when it is asked for a value, which the monitor stores a reply for.
DWORD AskSpooler(const OString& printer, const OString& value) {
  const unique_printer handle = OpenPrinterByName(printer, PRINTER_ACCESS_ADMINISTER);
  if (!handle) return GetLastError();
  std::string name = value.InCodePage(kCodePageAnsi);
  // With what the code page lacks it would be the name of another printer, or of none.
  if (OString(std::string_view(name)) != value) return ERROR_NO_UNICODE_TRANSLATION;
  BYTE length[sizeof(DWORD)] = {};
  DWORD type = 0, needed = 0;
  const DWORD error = GetPrinterDataA(handle.Get(), name.data(), &type, length, sizeof length, &needed);
  return error == ERROR_SUCCESS && needed == 0 ? ERROR_INVALID_DATA : error;
}

/// ERROR_SUCCESS when `reply` is what the monitor of the printer has answered.
DWORD AskThroughSpooler(const OString& printer, std::string_view request, std::string* reply) {
  StoredRequest stored;
  if (!stored.Store(request)) return request.empty() ? ERROR_INVALID_PARAMETER : ERROR_WRITE_FAULT;
  const DWORD error = AskSpooler(printer, stored.ValueName(printer));
  const bool read = stored.Read(reply);
  // A reply of nothing takes the request's place as any other does, but the monitor does not tell it from a failure.
  return read && reply->empty() ? ERROR_SUCCESS : error;
}

}  // namespace

XpmlAnswer XpmlClient::Send(std::string_view request, ResponsePointer* response) const {
  const XpmlAnswer answer = SendHttp(request, response);
  if (answer != XpmlAnswer::None || info_.remote || GetLastError() == kHasRunWithoutReply) return answer;
  return SendLocal(request, response);
}

XpmlAnswer XpmlClient::SendHttp(std::string_view request, ResponsePointer* response) const {
  if (info_.serverName.IsEmpty()) {
    SetLastError(WhyUnknown(name_));
    return XpmlAnswer::None;
  }
  const NetworkSettings settings(name_);
  if (!settings.IsOn(info_.remote ? SettingId::NetworkCommunication : SettingId::TcpEnabled)) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return XpmlAnswer::None;
  }
  HTTPRequest post;
  post.SetMethod("POST");
  post.SetUri("/xpml");
  post.AddParameter("xpml", request);
  AddPrinter(info_, name_, &post);
  std::string bytes;
  post.Serialize(&bytes);

  const DWORD port = settings.Number(SettingId::TcpPort);
  const DWORD timeout = settings.Number(SettingId::ConnectionTimeout);
  const OString host = settings.Host(info_.serverName);
  for (DWORD retries = settings.Number(SettingId::ConnectionRetries);; --retries) {
    if (ResponsePointer received = SendRequest(bytes, host, port, timeout)) {
      *response = std::move(received);
      return XpmlAnswer::Http;
    }
    if (retries == 0 || GetLastError() == kHasRunWithoutReply) return XpmlAnswer::None;
  }
}

XpmlAnswer XpmlClient::SendLocal(std::string_view request, ResponsePointer* response) const {
  std::string reply;
  if (const DWORD error = AskThroughSpooler(name_, request, &reply); error != ERROR_SUCCESS) {
    SetLastError(error);
    return XpmlAnswer::None;
  }
  auto made = std::make_unique<HTTPResponse>();
  if (!reply.empty()) {
    made->SetHeader("Content-Length", OString::FromUnsigned(reply.size()));
    made->SetBinaryBody(std::move(reply));
  }
  *response = std::move(made);
  return XpmlAnswer::Spooler;
}

}  // namespace portwise
