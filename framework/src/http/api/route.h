#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "http/api/api_parameters.h"
#include "http/server/response.h"

namespace fw {
class Agent;
}  // namespace fw

namespace fw::http {

class Responder;
struct Request;

/// A request that a route was found for. Its parameters have passed the route's checks.
struct Call {
  Agent& agent;
  const Request& request;
  std::string name;  ///< what the address has for the {name} of the pattern; else empty
};

/// What is done at an address: answers at once, or later, from any thread. It must not block.
using Answer = std::function<Response(const Call&)>;
using LaterAnswer = std::function<void(const Call&, std::shared_ptr<Responder>)>;
using Operation = std::variant<Answer, LaterAnswer>;

/// An operation that changes something.
struct Change {
  std::string_view method;  ///< "POST"
  Operation operation;
};

/// One kind of address, and all that there is to say about it.
struct Route {
  std::string_view pattern;  ///< "/api/v1/tables/{table}/rows": one {name} at most, never empty
  std::string_view about;    ///< what it returns, for people; empty: it is part of another one
  std::vector<ParameterRule> parameters;
  Operation read;
  std::vector<Change> changes = {};

  std::vector<std::string> methods() const;
  std::string allow() const;  ///< the methods as a header lists them

  /// What is done with a method; null when it is not allowed.
  const Operation* find(std::string_view method) const;
};

/// All addresses of a site.
class RouteTable {
 public:
  /// No two patterns match the same address.
  explicit RouteTable(std::vector<Route> routes);

  struct Match {
    const Route* route = nullptr;  ///< null when nothing is there
    std::string name = {};         ///< see Call::name
  };
  /// `segments` are the parts of a path; see Target.
  Match match(const std::vector<std::string>& segments) const;

  const std::vector<Route>& routes() const { return routes_; }

 private:
  std::vector<Route> routes_;
  std::vector<std::vector<std::string>> patterns_;  // the parts of each route's pattern
};

/// The JSON document that lists routes, except those that are part of another one.
std::string indexJson(const std::vector<Route>& routes);

}  // namespace fw::http
