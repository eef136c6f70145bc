#include "http/api/api_parameters.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace fw::http {

namespace {

Problem unknownParameter(const std::string& name, const std::vector<ParameterRule>& rules) {
  std::string detail = "There is no parameter \"" + name + "\" here; this address takes";
  std::vector<std::string> known;
  for (const ParameterRule& rule : rules) {
    detail += (known.empty() ? " " : &rule == &rules.back() ? " and " : ", ") + rule.name;
    known.push_back(rule.name);
  }
  detail += known.empty() ? " none." : ".";
  return withNearest({400,
                      "unknown-parameter",
                      "A parameter is unknown",
                      std::move(detail),
                      {{"parameter", name}}},
                     name, known);
}

Problem outOfRange(std::string_view parameter, std::string detail, NumberRange range) {
  return {400,
          "out-of-range",
          "A parameter is out of range",
          std::move(detail),
          {{"parameter", std::string(parameter)},
           {"minimum", static_cast<std::int64_t>(range.min)},
           {"maximum", static_cast<std::int64_t>(range.max)}}};
}

Problem givenTooOften(const ParameterRule& rule) {
  if (rule.times > 1) {
    return outOfRange(rule.name,
                      "Parameter " + rule.name + " is given more than " +
                          std::to_string(rule.times) +
                          " times; without it, nothing is filtered out.",
                      {0, rule.times});
  }
  return {400,
          "repeated-parameter",
          "A parameter is given more than once",
          "Parameter " + rule.name + " is given more than once; give it once.",
          {{"parameter", rule.name}}};
}

std::optional<std::uint64_t> parseNumber(std::string_view text) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

}  // namespace

ParameterRule limitParameter() { return {.name = "limit", .range = NumberRange{1, kMaxLimit}}; }

std::optional<Problem> checkParameters(const std::vector<Parameter>& parameters,
                                       const std::vector<ParameterRule>& rules) {
  for (auto each = parameters.begin(); each != parameters.end(); ++each) {
    const auto isNamed = [name = each->name](const auto& other) { return other.name == name; };
    const auto rule = std::find_if(rules.begin(), rules.end(), isNamed);
    if (rule == rules.end()) {
      return unknownParameter(each->name, rules);
    }
    const auto before = std::count_if(parameters.begin(), each, isNamed);
    if (static_cast<std::size_t>(before) >= rule->times) {
      return givenTooOften(*rule);
    }
    if (each->value.empty()) {
      continue;
    }
    std::optional<Problem> problem;
    if (rule->range) {
      problem = checkNumber(rule->name, each->value, *rule->range);
    } else if (rule->check) {
      problem = rule->check(each->value);
    }
    if (problem) {
      return problem;
    }
  }
  return std::nullopt;
}

std::optional<Problem> checkNumber(std::string_view name, std::string_view value,
                                   NumberRange range) {
  const auto number = parseNumber(value);
  if (number && *number >= range.min && *number <= range.max) {
    return std::nullopt;
  }
  return outOfRange(name,
                    "Parameter " + std::string(name) + " is \"" + std::string(value) +
                        "\"; it takes a whole number from " + std::to_string(range.min) + " to " +
                        std::to_string(range.max) + ".",
                    range);
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

std::optional<std::uint64_t> findNumber(const std::vector<Parameter>& parameters,
                                        std::string_view name) {
  const auto text = findParameter(parameters, name);
  return text ? parseNumber(*text) : std::nullopt;
}

std::uint32_t findLimit(const std::vector<Parameter>& parameters) {
  return static_cast<std::uint32_t>(
      findNumber(parameters, limitParameter().name).value_or(kDefaultLimit));
}

}  // namespace fw::http
