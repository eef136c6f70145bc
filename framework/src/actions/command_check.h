#pragma once

#include <cstddef>
#include <optional>

#include "actions/actions.h"
#include "engine/request_error.h"

namespace fw {

inline constexpr std::size_t kMaxCommand = 4096;  ///< bytes of UTF-8

/// Why a request can't be a command for any agent; nothing when it can. The text of the command is
/// not part of the message: it may hold a secret.
std::optional<RequestError> checkCommand(const ActionRequest& request);

}  // namespace fw
