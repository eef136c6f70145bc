#include "http/api/route.h"

#include <optional>
#include <utility>

#include "http/json/json_document.h"
#include "http/server/gate.h"

namespace fw::http {

namespace {

std::vector<std::string> split(std::string_view pattern) {
  std::vector<std::string> parts;
  while (!pattern.empty()) {
    pattern.remove_prefix(1);  // "/"
    const std::string_view part = pattern.substr(0, pattern.find('/'));
    parts.emplace_back(part);
    pattern.remove_prefix(part.size());
  }
  return parts;
}

/// What the path has for the pattern's {name}, or an empty text if it has none; nothing if the path
/// does not match.
std::optional<std::string> fit(const std::vector<std::string>& pattern,
                               const std::vector<std::string>& path) {
  if (pattern.size() != path.size()) {
    return std::nullopt;
  }
  std::string name;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i].starts_with('{') && !path[i].empty()) {
      name = path[i];
    } else if (pattern[i] != path[i]) {
      return std::nullopt;
    }
  }
  return name;
}

Json toJson(const ParameterRule& rule) {
  Json::Object members = {{"name", rule.name}, {"times", rule.times}};
  if (rule.range) {
    members.push_back({"minimum", rule.range->min});
    members.push_back({"maximum", rule.range->max});
  }
  return members;
}

}  // namespace

std::vector<std::string> Route::methods() const {
  std::vector<std::string> all = {"GET", "HEAD"};
  for (const Change& change : changes) {
    all.emplace_back(change.method);
  }
  return all;
}

std::string Route::allow() const {
  std::string list;
  for (const std::string& method : methods()) {
    list += (list.empty() ? "" : ", ") + method;
  }
  return list;
}

const Operation* Route::find(std::string_view method) const {
  if (isRead(method)) {
    return &read;
  }
  for (const Change& change : changes) {
    if (change.method == method) {
      return &change.operation;
    }
  }
  return nullptr;
}

RouteTable::RouteTable(std::vector<Route> routes) : routes_(std::move(routes)) {
  for (const Route& route : routes_) {
    patterns_.push_back(split(route.pattern));
  }
}

RouteTable::Match RouteTable::match(const std::vector<std::string>& segments) const {
  for (std::size_t i = 0; i < routes_.size(); ++i) {
    if (auto name = fit(patterns_[i], segments)) {
      return {&routes_[i], *std::move(name)};
    }
  }
  return {};
}

std::string indexJson(const std::vector<Route>& routes) {
  Json::List addresses;
  for (const Route& route : routes) {
    if (!route.about.empty()) {
      addresses.push_back({
          {"address", route.pattern},
          {"gives", route.about},
          {"methods", route.methods()},
          {"parameters",
           listOf(route.parameters, [](const ParameterRule& rule) { return toJson(rule); })},
      });
    }
  }
  return toDocument({{"addresses", std::move(addresses)}});
}

}  // namespace fw::http
