#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "http/server/problem.h"

namespace fw::http {

class Json;
struct Request;

/// A member that an object of a request may have, and where its value goes.
struct JsonMember {
  /// Takes the value; false when it is not of the kind that `expected` names.
  using Take = std::function<bool(const Json& value)>;

  std::string_view name;
  bool required;
  std::string expected;  ///< "a string", "a whole number from 1 to 10", for people
  Take take;
  std::vector<JsonMember> members = {};  ///< of an object
};

inline constexpr bool kRequired = true;
inline constexpr bool kOptional = false;

JsonMember textMember(std::string_view name, bool required, std::string& to);
JsonMember textMember(std::string_view name, bool required, std::optional<std::string>& to);
JsonMember textsMember(std::string_view name, bool required, std::vector<std::string>& to);
JsonMember numberMember(std::string_view name, bool required, std::int64_t min, std::int64_t max,
                        std::int64_t& to);

/// One of several texts; `to` gets the number of the one that is given.
JsonMember choiceMember(std::string_view name, bool required, std::vector<std::string> choices,
                        std::size_t& to);

/// An object with its own members; `given` becomes true.
JsonMember objectMember(std::string_view name, bool required, bool& given,
                        std::vector<JsonMember> members);

/// Reads the one JSON object that a request has as its content. Returns what is wrong with it: it
/// is not JSON, a member is missing, unknown or of the wrong kind. A member whose value is null
/// counts as not given.
std::optional<Problem> readJson(const Request& request, const std::vector<JsonMember>& members);

/// The problem with a member, named as in "row.where".
Problem badMember(const std::string& path, std::string detail);

}  // namespace fw::http
