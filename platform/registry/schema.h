#pragma once

#include <cstdint>
#include <string>

namespace portwise::platform {

/// Marks our files among SQLite's ("pwrg"), and the version of the tables.
inline constexpr std::int64_t kApplicationId = 0x70777267;
inline constexpr std::int64_t kSchemaVersion = 1;

/// Makes the database with the four predefined roots when there is no file at `path`; otherwise touches nothing. The
/// file appears complete or not at all, so an empty or half-written one is never taken for a new one. Throws
/// RegistryError.
void CreateDatabase(const std::string& path);

}  // namespace portwise::platform
