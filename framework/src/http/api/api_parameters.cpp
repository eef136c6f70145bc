#include "http/api/api_parameters.h"

#include <algorithm>
#include <charconv>

#include "basic/nearest.h"

namespace fw::http {

namespace {

Problem unknownParameter(const std::string& name, const std::vector<std::string>& known) {
  std::string detail = "There is no parameter \"" + name + "\" here";
  if (known.empty()) {
    detail += "; this address takes none.";
  } else {
    detail += "; this address takes";
    for (const std::string& each : known) {
      detail += (&each == &known.front() ? " " : &each == &known.back() ? " and " : ", ") + each;
    }
    detail += '.';
  }
  Problem problem{400, "unknown-parameter", "A parameter is not known", std::move(detail), {}};
  problem.extras.emplace_back("parameter", name);
  if (std::string nearest = nearestOf(name, known); !nearest.empty()) {
    problem.extras.emplace_back("nearest", std::move(nearest));
  }
  return problem;
}

}  // namespace

std::optional<Problem> checkParameters(const std::vector<Parameter>& parameters,
                                       const std::vector<std::string>& known,
                                       const std::vector<std::string>& repeatable) {
  for (auto each = parameters.begin(); each != parameters.end(); ++each) {
    if (std::find(known.begin(), known.end(), each->name) == known.end()) {
      return unknownParameter(each->name, known);
    }
    const bool repeated = std::any_of(parameters.begin(), each, [&](const Parameter& before) {
      return before.name == each->name;
    });
    if (repeated &&
        std::find(repeatable.begin(), repeatable.end(), each->name) == repeatable.end()) {
      return Problem{400,
                     "repeated-parameter",
                     "A parameter is given more than once",
                     "Parameter " + each->name + " is given more than once; give it once.",
                     {{"parameter", each->name}}};
    }
  }
  return std::nullopt;
}

std::optional<std::string> findParameter(const std::vector<Parameter>& parameters,
                                         std::string_view name) {
  for (const Parameter& parameter : parameters) {
    if (parameter.name == name && !parameter.value.empty()) {
      return parameter.value;
    }
  }
  return std::nullopt;
}

std::vector<std::string> findParameters(const std::vector<Parameter>& parameters,
                                        std::string_view name) {
  std::vector<std::string> values;
  for (const Parameter& parameter : parameters) {
    if (parameter.name == name && !parameter.value.empty()) {
      values.push_back(parameter.value);
    }
  }
  return values;
}

std::uint64_t parseNumber(std::string_view name, std::string_view text, std::uint64_t min,
                          std::uint64_t max, std::optional<Problem>& problem) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc() && end == text.data() + text.size() && number >= min && number <= max) {
    return number;
  }
  problem = Problem{400,
                    "out-of-range",
                    "A parameter is out of range",
                    "Parameter " + std::string(name) + " is \"" + std::string(text) +
                        "\"; it takes a whole number from " + std::to_string(min) + " to " +
                        std::to_string(max) + ".",
                    {{"parameter", std::string(name)},
                     {"minimum", static_cast<std::int64_t>(min)},
                     {"maximum", static_cast<std::int64_t>(max)}}};
  return min;
}

}  // namespace fw::http
