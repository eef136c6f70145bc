#pragma once

#include <string>
#include <string_view>

namespace fw::http {

/// Where the token is, below the product home.
inline constexpr std::string_view kTokenPath = "var/token";

/// The secret that must be presented to change something.
struct Token {
  std::string text;   ///< empty when there is none
  std::string error;  ///< why there is none, for people; never holds the secret
};

/// Reads the token of a product home, and makes one when there is none: 32 random bytes in
/// hexadecimal digits, in a file that only the user of the agent may read. A file that others may
/// read, that belongs to somebody else or that holds no valid token is refused, because a secret
/// that may be known protects nothing.
Token loadToken(const std::string& home);

/// Whether two secrets are equal; the time it takes reveals nothing about where they differ.
bool isSameSecret(std::string_view a, std::string_view b);

}  // namespace fw::http
