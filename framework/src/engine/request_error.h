#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace fw {

/// Why a request as a whole is refused: a report, a situation, a query for events, an action.
struct RequestError {
  enum class Kind {
    UnknownTable,
    UnknownSubnode,  ///< no such subnode, or the table is the agent's own
    UnknownSituation,
    NoEventTable,  ///< the table is sampled; events never come to it
    BadName,
    BadWhere,  ///< `position` says where
    BadInterval,
    BadCommand,
    Duplicate,     ///< a situation of that name exists already
    TableRefused,  ///< the agent describes the table wrongly; `message` says how
    NotReady,      ///< the agent is still loading or the table is not described yet
    Busy,          ///< too many requests are in progress, or a limit is reached
    Stopping,
  };
  Kind kind;
  std::string message;                  ///< for people, whole sentences
  std::optional<std::size_t> position;  ///< bytes into `where`, from 0
  std::string nearest;                  ///< a known name close to the unknown one, or empty
};

/// What is said of whatever comes after the stop has begun.
inline constexpr char kStoppingText[] = "The agent is stopping.";

inline RequestError stoppingError() {
  return {RequestError::Kind::Stopping, kStoppingText, std::nullopt, {}};
}

}  // namespace fw
