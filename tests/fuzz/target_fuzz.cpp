// Request targets: path, query, and the numbers in it.

#include <vector>

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
  const std::vector<fw::http::ParameterRule> rules = {fw::http::limitParameter(), {"where"}};
  if (!fw::http::checkParameters(target.parameters, rules)) {
    const std::uint32_t limit = fw::http::findLimit(target.parameters);
    fuzz::check(limit >= 1 && limit <= fw::http::kMaxLimit, "a number lies within its bounds");
  }
  return 0;
}
