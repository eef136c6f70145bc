#include "config/setting.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "basic/nearest.h"
#include "basic/utf8.h"

namespace fw {
namespace {

constexpr std::size_t kLongestValue = 60;
constexpr const char* kQuotedTag = "!";

std::string suggestion(std::string_view name, const std::vector<std::string>& known) {
  const std::string nearest = nearestOf(name, known);
  return nearest.empty() ? std::string() : fmt::format("; did you mean \"{}\"?", nearest);
}

std::string join(const std::vector<std::string>& names) {
  std::string all;
  for (const std::string& name : names) {
    all += (all.empty() ? "" : ", ") + name;
  }
  return all;
}

std::optional<std::uint32_t> readClasses(const std::string& path, const YAML::Node& value,
                                         Problems& problems) {
  if (!value.IsSequence()) {
    problems.add(value.Mark(), fmt::format("\"{}\": expected a list of trace classes as in [state, "
                                           "error], found {}",
                                           path, describeValue(value)));
    return std::nullopt;
  }
  std::uint32_t mask = 0;
  bool good = true;
  for (const YAML::Node& item : value) {
    const std::string name = item.IsScalar() ? item.Scalar() : std::string();
    const std::uint32_t bits = trace::classByName(name);
    if (bits == 0) {
      problems.add(item.Mark(), fmt::format("\"{}\": expected a trace class ({}), found {}{}", path,
                                            join(trace::classNames()), describeValue(item),
                                            suggestion(name, trace::classNames())));
      good = false;
    }
    mask |= bits;
  }
  return good ? std::optional(mask) : std::nullopt;
}

bool isVariableName(const std::string& name) {
  const auto allowed = [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
  };
  return !name.empty() && (name[0] < '0' || name[0] > '9') &&
         std::all_of(name.begin(), name.end(), allowed);
}

// These follow from other settings; two answers to one question would contradict each other.
struct DerivedVariable {
  const char* name;
  const char* source;
};
constexpr std::array<DerivedVariable, 3> kDerived{{{"ZEL_PROD", "\"product.code\""},
                                                   {"ZEL_INST", "\"instance\""},
                                                   {"ZEL_PROD_HOME", "the product home"}}};

void readVariable(const std::string& path, const YAML::Node& key, const YAML::Node& value,
                  std::map<std::string, std::string>& variables, Problems& problems) {
  const std::string name = key.IsScalar() ? key.Scalar() : std::string();
  const auto derived =
      std::find_if(kDerived.begin(), kDerived.end(),
                   [&](const DerivedVariable& known) { return name == known.name; });
  if (!isVariableName(name)) {
    problems.add(key.Mark(), fmt::format("\"{}\": expected the name of a variable (letters, digits "
                                         "and \"_\"), found {}",
                                         path, describeValue(key)));
  } else if (derived != kDerived.end()) {
    problems.add(key.Mark(), fmt::format("\"{}\": {} can't be set here; it follows from {}", path,
                                         name, derived->source));
  } else if (!value.IsScalar() || value.Scalar().find('\0') != std::string::npos) {
    problems.add(value.Mark(), fmt::format("\"{}.{}\": expected text", path, name));
  } else if (!variables.emplace(name, value.Scalar()).second) {
    problems.add(key.Mark(), fmt::format("\"{}.{}\" is set twice", path, name));
  }
}

using ReadItem = std::function<void(const YAML::Node& key, const YAML::Node& value,
                                    AgentConfig& config, Problems& problems)>;

// A setting whose items have names that the operator chooses.
Setting section(std::string path, std::string expected, std::string doc, ReadItem readItem) {
  Setting setting{std::move(path), std::move(expected), std::move(doc), false, true, {}, {}};
  setting.read = [named = setting, readItem = std::move(readItem)](
                     const YAML::Node& value, AgentConfig& config, Problems& problems) {
    if (!value.IsMap()) {
      addMismatch(named, value.Mark(), value, problems);
      return;
    }
    for (const auto& item : value) {
      readItem(item.first, item.second, config, problems);
    }
  };
  setting.show = [](AgentConfig&) { return std::string(); };
  return setting;
}

}  // namespace

void Problems::add(const YAML::Mark& mark, const std::string& what) {
  problems_.push_back({std::max(mark.line, 0) + 1, std::max(mark.column, 0) + 1, what});
}

std::string Problems::text() const {
  auto sorted = problems_;
  std::stable_sort(sorted.begin(), sorted.end(), [](const Problem& a, const Problem& b) {
    return std::pair(a.line, a.column) < std::pair(b.line, b.column);
  });
  std::string all;
  for (const Problem& problem : sorted) {
    all += fmt::format("{}{}:{}:{}: {}", all.empty() ? "" : "\n", file_, problem.line,
                       problem.column, problem.what);
  }
  return all;
}

std::string describeValue(const YAML::Node& value) {
  if (value.IsMap()) {
    return "a section";
  }
  if (value.IsSequence()) {
    return "a list";
  }
  if (!value.IsScalar()) {
    return "nothing";
  }
  const std::string& text = value.Scalar();
  const std::string_view shown = cutUtf8(text, kLongestValue);
  return fmt::format("\"{}{}\"", shown, shown.size() < text.size() ? "..." : "");
}

std::optional<std::string> plainScalar(const YAML::Node& value) {
  if (!value.IsScalar() || value.Tag() == kQuotedTag) {
    return std::nullopt;
  }
  return value.Scalar();
}

std::optional<std::int64_t> parseInteger(std::string_view text) {
  std::int64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::optional<bool> parseBool(std::string_view text) {
  if (text == "true" || text == "false") {
    return text == "true";
  }
  return std::nullopt;
}

bool fitsRule(const TextRule& rule, const std::string& text) {
  const auto shown = [](char c) { return static_cast<unsigned char>(c) >= 0x20 && c != 0x7F; };
  const bool allowed = rule.allowed != nullptr
                           ? std::all_of(text.begin(), text.end(), rule.allowed)
                           : std::all_of(text.begin(), text.end(), shown) && isValidUtf8(text);
  return allowed && text.size() >= rule.minBytes && text.size() <= rule.maxBytes;
}

void addMismatch(const Setting& setting, const YAML::Mark& place, const YAML::Node& value,
                 Problems& problems) {
  problems.add(place, fmt::format("\"{}\": expected {}, found {}", setting.path, setting.expected,
                                  describeValue(value)));
}

Setting traceClasses(std::string path, std::uint32_t& (*member)(AgentConfig&), std::string doc) {
  Setting setting{std::move(path),
                  "a list of " + join(trace::classNames()),
                  std::move(doc),
                  false,
                  false,
                  {},
                  {}};
  setting.read = [path = setting.path, member](const YAML::Node& value, AgentConfig& config,
                                               Problems& problems) {
    if (const auto mask = readClasses(path, value, problems)) {
      member(config) = *mask;
    }
  };
  setting.show = [member](AgentConfig& config) {
    return "[" + trace::describeMask(member(config)) + "]";
  };
  return setting;
}

Setting traceUnits(std::string path, std::vector<trace::MaskRule>& (*member)(AgentConfig&),
                   std::string doc) {
  const std::string name = path;
  return section(
      std::move(path), "a section of trace units, each with a list of trace classes",
      std::move(doc),
      [name, member](const YAML::Node& key, const YAML::Node& value, AgentConfig& config,
                     Problems& problems) {
        const std::string pattern = key.IsScalar() ? key.Scalar() : std::string();
        if (pattern.empty()) {
          problems.add(key.Mark(),
                       fmt::format("\"{}\": expected the name of a trace unit, found {}", name,
                                   describeValue(key)));
        } else if (const auto mask = readClasses(name + "." + pattern, value, problems)) {
          member(config).push_back({pattern, *mask});
        }
      });
}

Setting variables(std::string path, std::map<std::string, std::string>& (*member)(AgentConfig&),
                  std::string doc) {
  const std::string name = path;
  return section(std::move(path), "a section of variables, each with a value", std::move(doc),
                 [name, member](const YAML::Node& key, const YAML::Node& value, AgentConfig& config,
                                Problems& problems) {
                   readVariable(name, key, value, member(config), problems);
                 });
}

}  // namespace fw
