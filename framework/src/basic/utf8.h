#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// @file
/// Valid UTF-8 at the framework's border.

namespace fw {

/// Whether the text is UTF-8 as Unicode defines it: shortest forms, no surrogates, nothing above
/// U+10FFFF, nothing cut off.
bool isValidUtf8(std::string_view text);

/// Turns text as Java hands it out into valid UTF-8: C0 80 becomes U+0000, a pair of three-byte
/// surrogates the character that it stands for. Valid UTF-8 is unchanged; each ill-formed piece
/// (a lone surrogate, a stray byte, a cut sequence) becomes one U+FFFD.
std::string fromModifiedUtf8(std::string_view text);

/// The reverse: valid UTF-8 as Java takes it, with U+0000 as C0 80 and each character above U+FFFF
/// as a pair of three-byte surrogates. Bytes that are not UTF-8 are unchanged.
std::string toModifiedUtf8(std::string_view text);

/// The longest beginning of `text` of at most `maxBytes` bytes that ends between two characters.
/// Where text that is not UTF-8 has no such place nearby, it is cut at `maxBytes`.
std::string_view cutUtf8(std::string_view text, std::size_t maxBytes);

/// Length of the well-formed UTF-8 character that `text` begins with; 0 when it begins with none.
std::size_t utf8CharLength(std::string_view text);

}  // namespace fw
