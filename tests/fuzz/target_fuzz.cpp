// Request targets: path, query, and the numbers in it.

#include "basic/utf8.h"
#include "fuzz/fuzz_target.h"
#include "http/api/api_parameters.h"
#include "http/server/target.h"

namespace {

bool isText(const std::string& text) {
  return fw::isValidUtf8(text) && text.find('\0') == std::string::npos;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fw::http::Target target;
  if (fw::http::parseTarget(fuzz::textOf(data, size), target)) {
    return 0;
  }
  for (const std::string& segment : target.segments) {
    fuzz::check(isText(segment), "a segment is text");
  }
  for (const fw::http::Parameter& parameter : target.parameters) {
    fuzz::check(isText(parameter.name) && isText(parameter.value), "a parameter is text");
  }
  const auto unknown = fw::http::checkParameters(target.parameters, {"limit", "where"});
  if (const auto text = fw::http::findParameter(target.parameters, "limit"); !unknown && text) {
    std::optional<fw::http::Problem> problem;
    const std::uint64_t number = fw::http::parseNumber("limit", *text, 1, 10000, problem);
    fuzz::check(problem || (number >= 1 && number <= 10000), "a number lies within its bounds");
  }
  return 0;
}
