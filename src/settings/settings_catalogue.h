#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace portwise {

/// Every setting of the system, by its place in the catalogue.
enum class SettingId {
  OverwriteFiles,
  PrintCodeRecording,
  RecordingDirectory,
  StatusMonitoringMode,
  VerifyJobComplete,
  VerifyPageComplete,
  AdvancedStatusComment,
  ShowOnError,
  ShowIcon,
  SendTimeout,
  ResponseTimeout,
  ActivePollingInterval,
  IdlePollingInterval,
  TcpDelayedClosePeriod,
  UserInterfaceClass,
  LoggingKey,
  ConfigurationSharing,
  KnownBidirectional,
  TcpEnabled,
  NetworkCommunication,
  TcpPort,
  ConnectionRetries,
  ConnectionTimeout,
  NetworkBidirectional,
  ServerAddressOverride,
  ServerAddress,
  ServiceTcpEnabled,
  ServiceTcpPort,
  ServiceNetworkCommunication,
  ServiceNetworkBidirectional,
  WindowShowIcon,
  WindowShowOnError,
  WindowHideTitlebar,
  WindowAlwaysOnTop,
  WindowXPosition,
  WindowYPosition,
  WindowKey,
  Language,
  LogApiCalls,
  SaveWriteData,
  SaveReadData,
  SaveStatusCommand,
  XpmlValues,
  DebugLibrary,
  ExportChecksum,
  PortMonitorsKey,
  Count
};

/// How a value is read: a boolean from one byte, numbers from four, text from text, whatever its registry type.
enum class SettingKind { Bool, Number, SignedNumber, Text, Key, Any };

/// Whether anything reads a setting; what writes or shows all of them says so of those that nothing reads.
enum class SettingUse { Read, NotReadYet };

/// One row of the catalogue.
struct Setting {
  SettingId id;
  const char* path;  ///< logical; "<name>" stands for what differs
  SettingKind kind;
  DWORD number;              ///< the default of a boolean or a number
  const char* defaultWords;  ///< a default that is not a constant, in words; null when `number` or the empty text is it
  const char* unit;          ///< null for none
  const char* meaning;
  SettingUse use = SettingUse::Read;
  DWORD largest = 0xFFFFFFFF;  ///< of a number; what is larger counts as the default
};

/// The row of a setting; any thread. A setting is added, and its default changed, in that row alone. A path of which a
/// part differs is spelled out by its users as well.
const Setting& FindSetting(SettingId id);
/// The path of a setting whose path ends with a part that differs, with that part.
std::string SettingPath(SettingId id, std::string_view part);

}  // namespace portwise
