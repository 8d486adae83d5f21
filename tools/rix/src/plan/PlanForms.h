#pragma once

#include "Plan.h"

namespace rix::cli {

inline constexpr const char* planFormat = "rix plan";
inline constexpr int planFormatVersion = 1;

/// The reverse of `toJson`. @throws nlohmann::json::exception for something else
Plan planFromJson(const nlohmann::json& content);

}  // namespace rix::cli
