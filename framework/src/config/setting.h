#pragma once

#include <yaml-cpp/yaml.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "config/agent_config.h"
#include "config/quantity.h"

namespace fw {

/// Everything that is wrong in a configuration file.
class Problems {
 public:
  explicit Problems(std::string file) : file_(std::move(file)) {}

  /// Adds an error. Lines and columns of a mark count from 0, those in the text from 1.
  void add(const YAML::Mark& mark, const std::string& what);

  bool empty() const { return problems_.empty(); }

  /// One line per error, FILE:LINE:COLUMN: what is wrong; in file order.
  std::string text() const;

 private:
  struct Problem {
    int line;
    int column;
    std::string what;
  };

  std::string file_;
  std::vector<Problem> problems_;
};

/// One key of the configuration file: where it is, what it takes, and what it sets.
struct Setting {
  std::string path;      ///< "http.port"
  std::string expected;  ///< what the value must be, after "expected "
  std::string doc;       ///< for people, whole sentences
  bool required = false;
  bool mayBeEmpty = false;  ///< a key without a value counts as absent

  /// Puts the value into the configuration, or adds what is wrong with it.
  std::function<void(const YAML::Node& value, AgentConfig& config, Problems& problems)> read;

  /// The value in a configuration as the file would write it; empty for none.
  std::function<std::string(AgentConfig& config)> show;
};

/// What a text may be.
struct TextRule {
  std::string expected;
  std::size_t minBytes;
  std::size_t maxBytes;
  bool (*allowed)(char);  ///< null: any printable character
};

/// What a value is, for a message: its text in quotes (cut when it is long), "a list", ...
std::string describeValue(const YAML::Node& value);

/// The text of an unquoted scalar; nothing for everything else, so that "8790" is not a number.
std::optional<std::string> plainScalar(const YAML::Node& value);

std::optional<std::int64_t> parseInteger(std::string_view text);
std::optional<bool> parseBool(std::string_view text);
bool fitsRule(const TextRule& rule, const std::string& text);

/// Adds, at a place, "PATH: expected EXPECTED, found VALUE".
void addMismatch(const Setting& setting, const YAML::Mark& place, const YAML::Node& value,
                 Problems& problems);

// The kinds of settings. `member` returns the member of an AgentConfig& that a setting sets.

namespace detail {

/// A setting with a scalar value that `parse` turns into the member's type or refuses.
template <typename Member, typename Parse, typename Show>
Setting scalar(std::string path, std::string expected, std::string doc, Member member, Parse parse,
               Show show) {
  Setting setting{std::move(path), std::move(expected), std::move(doc), false, false, {}, {}};
  setting.read = [named = setting, member, parse](const YAML::Node& value, AgentConfig& config,
                                                  Problems& problems) {
    if (auto parsed = parse(value)) {
      member(config) = static_cast<std::remove_reference_t<decltype(member(config))>>(*parsed);
    } else {
      addMismatch(named, value.Mark(), value, problems);
    }
  };
  setting.show = [member, show](AgentConfig& config) { return show(member(config)); };
  return setting;
}

template <typename T>
std::optional<T> within(std::optional<T> value, T low, T high) {
  return value && *value >= low && *value <= high ? value : std::nullopt;
}

}  // namespace detail

template <typename Member>
Setting integer(std::string path, Member member, std::int64_t low, std::int64_t high,
                std::string doc) {
  return detail::scalar(
      std::move(path), "an integer from " + std::to_string(low) + " to " + std::to_string(high),
      std::move(doc), member,
      [low, high](const YAML::Node& value) {
        const auto text = plainScalar(value);
        return detail::within(text ? parseInteger(*text) : std::nullopt, low, high);
      },
      [](auto number) { return std::to_string(number); });
}

template <typename Member>
Setting duration(std::string path, Member member, std::chrono::milliseconds low,
                 std::chrono::milliseconds high, std::string doc) {
  return detail::scalar(
      std::move(path),
      "a duration from " + formatDuration(low) + " to " + formatDuration(high) +
          " with its unit (ms, s, m, h)",
      std::move(doc), member,
      [low, high](const YAML::Node& value) {
        const auto text = plainScalar(value);
        return detail::within(text ? parseDuration(*text) : std::nullopt, low, high);
      },
      [](std::chrono::milliseconds amount) { return formatDuration(amount); });
}

template <typename Member>
Setting size(std::string path, Member member, std::uint64_t low, std::uint64_t high,
             std::string doc) {
  return detail::scalar(
      std::move(path),
      "a size from " + formatSize(low) + " to " + formatSize(high) +
          " with its unit (B, KiB, MiB, GiB)",
      std::move(doc), member,
      [low, high](const YAML::Node& value) {
        const auto text = plainScalar(value);
        return detail::within(text ? parseSize(*text) : std::nullopt, low, high);
      },
      [](std::uint64_t amount) { return formatSize(amount); });
}

template <typename Member>
Setting boolean(std::string path, Member member, std::string doc) {
  return detail::scalar(
      std::move(path), "true or false", std::move(doc), member,
      [](const YAML::Node& value) {
        const auto text = plainScalar(value);
        return text ? parseBool(*text) : std::nullopt;
      },
      [](bool value) { return std::string(value ? "true" : "false"); });
}

template <typename Member>
Setting text(std::string path, Member member, const TextRule& rule, std::string doc) {
  return detail::scalar(
      std::move(path), rule.expected, std::move(doc), member,
      [rule](const YAML::Node& value) -> std::optional<std::string> {
        if (!value.IsScalar() || !fitsRule(rule, value.Scalar())) {
          return std::nullopt;
        }
        return value.Scalar();
      },
      [](const std::string& value) { return value; });
}

/// A list of trace classes, as in `[state, error]`.
Setting traceClasses(std::string path, std::uint32_t& (*member)(AgentConfig&), std::string doc);

/// A section whose keys are patterns of trace units and whose values are lists of trace classes.
Setting traceUnits(std::string path, std::vector<trace::MaskRule>& (*member)(AgentConfig&),
                   std::string doc);

/// A section of names and texts. Values are not shown in messages: they may be secrets.
Setting variables(std::string path, std::map<std::string, std::string>& (*member)(AgentConfig&),
                  std::string doc);

}  // namespace fw
