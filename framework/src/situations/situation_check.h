#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <variant>

#include "engine/request_error.h"
#include "situations/situations.h"
#include "tables/column.h"
#include "tables/condition.h"

namespace fw {

/// The interval of a sampled situation that names none.
inline constexpr std::chrono::seconds kDefaultInterval{60};
inline constexpr std::chrono::seconds kMaxInterval = std::chrono::hours(24);

/// Checks what depends on a situation's name alone.
std::optional<RequestError> checkSituationName(const SituationRequest& request);

/// A situation that may be watched, with defaults filled in and every subnode named once.
struct CheckedSituation {
  SituationRequest request;
  Predicate predicate;
};

/// Checks a situation against its table; at most `subnodeLimit` subnodes may be named. They need
/// not be registered.
std::variant<CheckedSituation, RequestError> checkSituation(SituationRequest request,
                                                            const TableInfo& table,
                                                            std::uint32_t subnodeLimit);

}  // namespace fw
