#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

using Id = SettingId;
using Kind = SettingKind;
using Use = SettingUse;

constexpr Setting kSettings[] = {
    {Id::OverwriteFiles, "Settings:Logging/Overwrite Files", Kind::Bool, FALSE, nullptr, nullptr,
     "The recording of print data overwrites its file instead of adding a new one."},
    {Id::PrintCodeRecording, "Settings:Logging/Print Code Recording", Kind::Bool, FALSE, nullptr, nullptr,
     "Records the print data that goes to the printer."},
    {Id::RecordingDirectory, "Settings:Logging/Directory", Kind::Text, 0, nullptr, nullptr,
     "The folder of the recordings."},
    {Id::StatusMonitoringMode, "Settings:Status/Status Monitoring Mode", Kind::Number, 0, nullptr, nullptr,
     "How the printer's status is monitored, 0 to 3; 0 is not at all. Other numbers count as the default.", Use::Read,
     3},
    {Id::VerifyJobComplete, "Settings:Status/Verify Job Complete", Kind::Bool, FALSE, nullptr, nullptr,
     "A job is done only when the printer says so. Off while status monitoring is off."},
    {Id::VerifyPageComplete, "Settings:Status/Verify Page Complete", Kind::Bool, FALSE, nullptr, nullptr,
     "A page is done only when the printer says so. Off while status monitoring is off."},
    {Id::AdvancedStatusComment, "Settings:Status/Advanced Status Comment", Kind::Bool, FALSE, nullptr, nullptr,
     "Writes the printer's status in front of its comment. Off while status monitoring is off."},
    {Id::ShowOnError, "Settings:Status/Show On Error", Kind::Bool, TRUE, nullptr, nullptr,
     "The status window opens when the printer reports an error, unless the user chose otherwise."},
    {Id::ShowIcon, "Settings:Status/Show Icon", Kind::Bool, TRUE, nullptr, nullptr,
     "The status icon is shown, unless the user chose otherwise."},
    {Id::SendTimeout, "Settings:Status/Send Timeout", Kind::Number, 30000, nullptr, "ms",
     "How long a status request may take to be sent."},
    {Id::ResponseTimeout, "Settings:Status/Response Timeout", Kind::Number, 30000, nullptr, "ms",
     "How long the printer may take to answer a status request."},
    {Id::ActivePollingInterval, "Settings:Status/Active Polling Interval", Kind::Number, 1000, nullptr, "ms",
     "The time between status requests while the printer works."},
    {Id::IdlePollingInterval, "Settings:Status/Idle Polling Interval", Kind::Number, 5000, nullptr, "ms",
     "The time between status requests while the printer is idle."},
    {Id::TcpDelayedClosePeriod, "Settings:TCP Port Delayed Close Period", Kind::Number, 30000, nullptr, "ms",
     "How long a direct TCP connection stays open after use."},
    {Id::UserInterfaceClass, "Settings:User Interface Class", Kind::Text, 0, nullptr, nullptr,
     "The class id of the driver's object that shows the settings of status monitoring; without it nothing does."},
    {Id::LoggingKey, "Settings:Logging", Kind::Key, 0, nullptr, nullptr, "The key of the job logs."},
    {Id::ConfigurationSharing, "SECURITY:Configuration Sharing", Kind::Bool, TRUE, nullptr, nullptr,
     "What a request for the state of configuration sharing answers."},
    {Id::KnownBidirectional, "DATA:Monitor/Ports/[PORT]/Known Bidirectional", Kind::Bool, FALSE, nullptr, nullptr,
     "Written when the port has answered a status request, and read to know it the next time."},
    {Id::TcpEnabled, "NETWORK:TCP Enabled", Kind::Bool, TRUE, nullptr, nullptr,
     "The client functions may reach a local printer's monitor over TCP."},
    {Id::NetworkCommunication, "NETWORK:Network Communication", Kind::Bool, TRUE, nullptr, nullptr,
     "The client functions may reach the server of a remote printer."},
    {Id::TcpPort, "NETWORK:TCP Port", Kind::Number, 6160, nullptr, nullptr, "The TCP port of the network service."},
    {Id::ConnectionRetries, "NETWORK:Connection Retries", Kind::Number, 2, nullptr, nullptr,
     "Further attempts of the client functions to get an answer, after the first."},
    {Id::ConnectionTimeout, "NETWORK:Connection Timeout", Kind::Number, 1000, nullptr, "ms",
     "How long the client functions wait for each piece of an answer, and for room to send."},
    {Id::NetworkBidirectional, "NETWORK:Network Bidirectional", Kind::Bool, TRUE, nullptr, nullptr,
     "When off, the client functions address \"localhost\" instead of the server. Written by the network service."},
    {Id::ServerAddressOverride, "NETWORK:Server Address Override", Kind::Bool, FALSE, nullptr, nullptr,
     "The client functions use \"Server Address\" instead of the printer's server."},
    {Id::ServerAddress, "NETWORK:Server Address", Kind::Text, 0, "the printer's server", nullptr,
     "The address that is used when the override is on."},
    {Id::ServiceTcpEnabled, "LOCAL:Network/@<computer>/TCP Enabled", Kind::Bool, TRUE, nullptr, nullptr,
     "Whether this computer's network service runs."},
    {Id::ServiceTcpPort, "LOCAL:Network/@<computer>/TCP Port", Kind::Number, 6160, nullptr, nullptr,
     "The TCP port at which this computer's network service listens."},
    {Id::ServiceNetworkCommunication, "LOCAL:Network/@<computer>/Network Communication", Kind::Bool, TRUE, nullptr,
     nullptr, "Whether this computer's network service serves other computers."},
    {Id::ServiceNetworkBidirectional, "LOCAL:Network/@<computer>/Network Bidirectional", Kind::Bool, TRUE,
     "none; the service writes it", nullptr, "Whether other computers reach this computer's network service."},
    {Id::WindowShowIcon, "UserSettings:Status Window/Show Icon", Kind::Bool, TRUE, "that of Settings:Status/Show Icon",
     nullptr, "The user's choice whether the status icon is shown."},
    {Id::WindowShowOnError, "UserSettings:Status Window/Show On Error", Kind::Bool, TRUE,
     "that of Settings:Status/Show On Error", nullptr,
     "The user's choice whether the status window opens when the printer reports an error."},
    {Id::WindowHideTitlebar, "UserSettings:Status Window/Hide Titlebar", Kind::Bool, FALSE, nullptr, nullptr,
     "The status window has no title bar."},
    {Id::WindowAlwaysOnTop, "UserSettings:Status Window/Always On Top", Kind::Bool, TRUE, nullptr, nullptr,
     "The status window stays above other windows."},
    {Id::WindowXPosition, "UserSettings:Status Window/Window X Position", Kind::SignedNumber, static_cast<DWORD>(-1),
     nullptr, "pixels", "Where the status window was left; -1 when nothing is stored."},
    {Id::WindowYPosition, "UserSettings:Status Window/Window Y Position", Kind::SignedNumber, static_cast<DWORD>(-1),
     nullptr, "pixels", "Where the status window was left; -1 when nothing is stored."},
    {Id::WindowKey, "UserSettings:Status Window", Kind::Key, 0, nullptr, nullptr,
     "Deleted with all that is in it to go back to the driver's defaults."},
    {Id::Language, "UserSettings:Language", Kind::Text, 0, "the system's language", nullptr,
     "The language of the user interface."},
    {Id::LogApiCalls, "GLOBAL:Development/Monitor Log API Calls", Kind::Bool, FALSE, nullptr, nullptr,
     "Writes the monitor's calls to a file, for support."},
    {Id::SaveWriteData, "GLOBAL:Development/Monitor Save Write Data", Kind::Bool, FALSE, nullptr, nullptr,
     "Keeps the data that is written to ports, for support.", Use::NotReadYet},
    {Id::SaveReadData, "GLOBAL:Development/Monitor Save Read Data", Kind::Bool, FALSE, nullptr, nullptr,
     "Keeps the buffers of reads, for support."},
    {Id::SaveStatusCommand, "GLOBAL:Development/Monitor Save Status Command", Kind::Bool, FALSE, nullptr, nullptr,
     "Keeps the status requests that are sent, for support.", Use::NotReadYet},
    {Id::XpmlValues, "LOCAL:XPML/<name>", Kind::Any, 0, nullptr, nullptr,
     "What XPML requests store under a name and fetch again."},
    {Id::DebugLibrary, "LOCAL_MACHINE:Software/Corvane/Drivers/Debug/dbghelp", Kind::Text, 0, nullptr, nullptr,
     "The folder or the file of the library that writes crash dumps."},
    {Id::ExportChecksum, "<exported key>/(CRC32)", Kind::Number, 0, nullptr, nullptr,
     "The checksum of the exported text of a settings key."},
    {Id::PortMonitorsKey, "PRINT:Monitors", Kind::Key, 0, nullptr, nullptr,
     "The port monitors of the system with their ports; only read."},
};

constexpr bool IsInOrder() {
  int next = 0;
  for (const Setting& setting : kSettings) {
    if (static_cast<int>(setting.id) != next++) return false;
  }
  return next == static_cast<int>(SettingId::Count);
}
static_assert(IsInOrder(), "the catalogue's rows stand in the order of their ids");

}  // namespace

const Setting& FindSetting(SettingId id) { return kSettings[static_cast<size_t>(id)]; }

std::string SettingPath(SettingId id, std::string_view part) {
  const std::string_view path = FindSetting(id).path;
  return std::string(path.substr(0, path.find('<'))).append(part);
}

}  // namespace portwise
