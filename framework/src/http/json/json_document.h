#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "basic/clock.h"

namespace fw::http {

using Json = nlohmann::ordered_json;

/// The text of a document, for programs and people.
std::string toDocument(const Json& json);

/// The object in one line, with `time` as its first member.
std::string toLine(const Json& object, Clock::WallTime time);

}  // namespace fw::http
