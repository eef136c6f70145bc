// JSON documents that come in, compared with what another parser says to them.

#include <nlohmann/json.hpp>

#include "basic/utf8.h"
#include "fuzz/fuzz_target.h"
#include "http/json/json_reader.h"

namespace {

using fw::http::Json;
using Other = nlohmann::json;

/// What this parser refuses, though it is JSON.
bool isBeyondLimits(const std::string& message) {
  for (const char* part : {"a second time", "more than", "too deep", "is out of range"}) {
    if (message.find(part) != std::string::npos) {
      return true;
    }
  }
  return false;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::textOf(data, size);
  const auto result = fw::http::parseJson(text);
  if (const auto* error = std::get_if<fw::http::JsonError>(&result)) {
    fuzz::check(error->position <= size, "an error lies inside the text");
    fuzz::check(!error->message.empty(), "an error has a message");
    fuzz::check(fw::isValidUtf8(error->message), "a message is text");
    // The other parser passes over a byte order mark, and takes a NUL for the end of the text.
    const bool isOdd = text.starts_with("\xEF\xBB\xBF") || text.find('\0') != text.npos;
    fuzz::check(isBeyondLimits(error->message) || isOdd || !Other::accept(text),
                "what is refused is no JSON");
    return 0;
  }
  const auto& json = std::get<Json>(result);
  fuzz::check(Other::accept(text) && text.find('\0') == text.npos, "what is taken is JSON");
  fuzz::check(Other::parse(json.dump()) == Other::parse(text), "the values are the same");
  fuzz::check(std::get<Json>(fw::http::parseJson(json.dump())) == json, "it can be read again");
  return 0;
}
