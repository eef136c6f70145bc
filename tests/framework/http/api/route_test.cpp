#include "http/api/route.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "framework/http/server_fixture.h"

namespace fw::http {
namespace {

Response nothing(const Call& /*call*/) { return {}; }

Target targetOf(const std::string& path) {
  Target target;
  EXPECT_EQ(parseTarget(path, target), std::nullopt);
  return target;
}

TEST(RouteTest, FindsTheRouteWhosePatternFits) {
  const RouteTable table({{"/", "", {}, nothing},
                          {"/a/", "", {}, nothing},
                          {"/a/b", "", {}, nothing},
                          {"/a/{name}/c", "", {}, nothing}});
  const auto found = [&](const std::string& path) {
    const RouteTable::Match match = table.match(targetOf(path).segments);
    return match.route == nullptr ? "none"
                                  : std::string(match.route->pattern) + " [" + match.name + ']';
  };

  EXPECT_EQ(found("/"), "/ []");
  EXPECT_EQ(found("/a/"), "/a/ []");
  EXPECT_EQ(found("/a/b"), "/a/b []");
  EXPECT_EQ(found("/a/x%2Fy/c"), "/a/{name}/c [x/y]");
  EXPECT_EQ(found("/a/{name}/c"), "/a/{name}/c [{name}]");
  for (const char* path : {"//", "/a", "/a//c", "/a/x", "/a/x/c/", "/b"}) {
    EXPECT_EQ(found(path), "none") << path;
  }
}

TEST(RouteTest, AllowsReadingAndItsChanges) {
  const Route route{"/a", "", {}, nothing, {{"POST", nothing}, {"DELETE", nothing}}};

  EXPECT_EQ(route.allow(), "GET, HEAD, POST, DELETE");
  EXPECT_EQ(route.find("GET"), &route.read);
  EXPECT_EQ(route.find("HEAD"), &route.read);
  EXPECT_EQ(route.find("DELETE"), &route.changes[1].operation);
  EXPECT_EQ(route.find("PUT"), nullptr);
}

TEST(RouteTest, ListsWhatThereIs) {
  const std::vector<Route> routes = {{"/a/{name}",
                                      "an a",
                                      {limitParameter(), {.name = "kind", .times = 3}},
                                      nothing,
                                      {{"DELETE", nothing}}},
                                     {"/part.js", "", {}, nothing}};

  EXPECT_EQ(nlohmann::json::parse(indexJson(routes)), nlohmann::json::parse(R"({"addresses": [
    {"address": "/a/{name}", "gives": "an a", "methods": ["GET", "HEAD", "DELETE"],
     "parameters": [{"name": "limit", "times": 1, "minimum": 1, "maximum": 100000},
                    {"name": "kind", "times": 3}]}]})"));
}

/// Every route of the agent.
class EveryRouteTest : public ServerFixture {
 protected:
  void SetUp() override { start(); }

  /// An address that fits the pattern.
  static std::string address(const Route& route) {
    std::string path(route.pattern);
    if (const std::size_t begin = path.find('{'); begin != std::string::npos) {
      path.replace(begin, path.find('}') - begin + 1, "JVM_MEMORY");
    }
    return path;
  }
};

TEST_F(EveryRouteTest, IsFoundAtItsOwnAddress) {
  const RouteTable table(api->routes());

  for (const Route& route : api->routes()) {
    const RouteTable::Match match = table.match(targetOf(address(route)).segments);
    ASSERT_NE(match.route, nullptr) << route.pattern;
    EXPECT_EQ(match.route->pattern, route.pattern);
  }
}

TEST_F(EveryRouteTest, RefusesOtherMethodsAndTellsItsOwn) {
  for (const Route& route : api->routes()) {
    const HttpReply reply = get(address(route), "PATCH", authorization());
    EXPECT_EQ(reply.status, 405) << route.pattern;
    EXPECT_EQ(reply.header("allow"), route.allow()) << route.pattern;
  }
}

TEST_F(EveryRouteTest, RefusesAnUnknownParameterAndNamesItsOwn) {
  for (const Route& route : api->routes()) {
    const HttpReply reply = get(address(route) + "?zzz=1");
    EXPECT_EQ(reply.status, 400) << route.pattern;
    const auto problem = parse(reply);
    EXPECT_EQ(problem["type"], "urn:zel:problem:unknown-parameter") << route.pattern;
    for (const ParameterRule& rule : route.parameters) {
      EXPECT_NE(problem["detail"].get<std::string>().find(rule.name), std::string::npos)
          << route.pattern;
    }
  }
}

TEST_F(EveryRouteTest, RefusesANumberBeyondItsRangeAndOneTimeTooMany) {
  for (const Route& route : api->routes()) {
    for (const ParameterRule& rule : route.parameters) {
      std::string often = address(route) + '?';
      for (std::size_t i = 0; i <= rule.times; ++i) {
        often += '&' + rule.name + '=';
      }
      EXPECT_EQ(get(often).status, 400) << often;
      if (rule.range) {
        const std::string wrong =
            address(route) + '?' + rule.name + '=' + std::to_string(rule.range->max + 1);
        EXPECT_EQ(parse(get(wrong))["type"], "urn:zel:problem:out-of-range") << wrong;
      }
    }
  }
}

TEST_F(EveryRouteTest, AnswersHeadLikeGet) {
  for (const Route& route : api->routes()) {
    if (route.pattern == "/api/v1/stream") {
      continue;  // its content never ends
    }
    const HttpReply whole = get(address(route));
    const HttpReply head = get(address(route), "HEAD");
    EXPECT_EQ(head.status, whole.status) << route.pattern;
    EXPECT_EQ(head.header("content-type"), whole.header("content-type")) << route.pattern;
    EXPECT_EQ(head.body, "") << route.pattern;
  }
}

TEST_F(EveryRouteTest, StandsInTheIndex) {
  const HttpReply reply = get("/api/v1/");

  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.header("content-type"), "application/json");
  const nlohmann::json index = parse(reply);
  std::set<std::string> listed;
  for (const auto& each : index["addresses"]) {
    EXPECT_NE(each["gives"], "") << each;
    listed.insert(each["address"]);
  }
  for (const Route& route : api->routes()) {
    const bool isPart = route.about.empty();
    EXPECT_EQ(listed.contains(std::string(route.pattern)), !isPart) << route.pattern;
    EXPECT_TRUE(!isPart || route.pattern.find('.') != std::string::npos)
        << "only files of the page are part of another address: " << route.pattern;
  }
  for (const char* address : {"/", "/healthz", "/api/v1/", "/api/v1/tables/{table}/rows"}) {
    EXPECT_TRUE(listed.contains(address)) << address;
  }
}

}  // namespace
}  // namespace fw::http
