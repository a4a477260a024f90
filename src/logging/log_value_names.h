#pragma once

/// The names under which the registry keeps what a log and its fields are configured to be.
namespace portwise::log_value {

inline constexpr char kEnabled[] = "Enabled";
inline constexpr char kLogType[] = "LogType";
inline constexpr char kFormat[] = "Format";  ///< of a log, and of a field
inline constexpr char kDirectory[] = "LoggingDirectory";
inline constexpr char kOrganization[] = "LogOrganization";
inline constexpr char kDataOffset[] = "DataOffset";
inline constexpr char kEventsFilter[] = "EventsFilter";
inline constexpr char kDisplayEmptyFields[] = "DisplayEmptyFields";
inline constexpr char kIncludeHeaderRecord[] = "IncludeHeaderRecord";

/// The key of the fields, each of which is a key below it.
inline constexpr char kFields[] = "Fields";
inline constexpr char kFieldName[] = "Name";
inline constexpr char kFieldOrder[] = "Order";
inline constexpr char kFieldParameters[] = "Parameters";

}  // namespace portwise::log_value
