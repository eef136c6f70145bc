#include "http/services/service_site.h"

#include "framework/http/services/service_fixture.h"

namespace fw::http {
namespace {

class ServiceSiteTest : public ServiceFixture {
 protected:
  void SetUp() override { start(); }
};

TEST_F(ServiceSiteTest, HandsPathQueryLanguageAndMethodToTheCallback) {
  std::string seen;
  serve("main_box_JX", [&](KDH1_request_struct& request) {
    seen = pathOf(request) + '|' + headerOf(request, KDH1_HDR_QUERY) + '|' +
           headerOf(request, KDH1_HDR_LANGUAGE) + '|' + headerOf(request, KDH1_HDR_METHOD);
    return reply(request, "<p>hello</p>", KDH1_MEDIA_HTML);
  });

  const HttpReply answer =
      ask("/service/main_box_JX/a/caf%C3%A9?x=1&y=%20", "GET", "Accept-Language: de\r\n");

  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "<p>hello</p>");
  EXPECT_EQ(answer.header("content-type"), "text/html; charset=utf-8");
  EXPECT_EQ(seen, "/a/caf\xc3\xa9|x=1&y=%20|de|GET");
}

TEST_F(ServiceSiteTest, GivesNoHeaderThatTheRequestHasNot) {
  std::string seen;
  serve("s", [&](KDH1_request_struct& request) {
    seen =
        pathOf(request) + headerOf(request, KDH1_HDR_QUERY) + headerOf(request, KDH1_HDR_LANGUAGE);
    return reply(request, "");
  });

  EXPECT_EQ(ask("/service/s/").status, 200);

  EXPECT_EQ(seen, "/(none)(none)");
}

TEST_F(ServiceSiteTest, HandsTheContentOfAPostToTheCallback) {
  std::string seen;
  serve("s", [&](KDH1_request_struct& request) {
    std::uint32_t value = 7;
    std::uint32_t length = 0;
    EXPECT_EQ(KDH1_OpenEntity(request.handle, &value, &length), kKdh1Ok);
    seen.resize(length);
    EXPECT_EQ(KDH1_Get(request.handle, seen.data(), length), kKdh1Ok);
    return reply(request, headerOf(request, KDH1_HDR_METHOD));
  });
  const std::string content = "a=b&" + std::string(50'000, 'x');

  const HttpReply answer = post("/service/s/form", content);

  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body, "POST");
  EXPECT_EQ(seen, content);
}

TEST_F(ServiceSiteTest, AnswersHeadWithoutContent) {
  serve("s", [](KDH1_request_struct& request) { return reply(request, "hello"); });

  const HttpReply answer = ask("/service/s/", "HEAD");

  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.header("content-length"), "5");
  EXPECT_EQ(answer.body, "");
}

TEST_F(ServiceSiteTest, NeedsTheTokenForAPost) {
  std::atomic<int> calls{0};
  serve("s", [&](KDH1_request_struct& request) {
    ++calls;
    return reply(request, "");
  });

  EXPECT_EQ(ask("/service/s/", "POST", "Content-Length: 0\r\n").status, 401);

  EXPECT_EQ(calls, 0);
}

TEST_F(ServiceSiteTest, AllowsGetHeadAndPostOnly) {
  serve("s", [](KDH1_request_struct& request) { return reply(request, ""); });

  const HttpReply answer = ask("/service/s/", "DELETE", authorization());

  EXPECT_EQ(answer.status, 405);
  EXPECT_EQ(answer.header("allow"), "GET, HEAD, POST");
}

TEST_F(ServiceSiteTest, ListsWhatIsServed) {
  serve("b", [](KDH1_request_struct& request) { return reply(request, ""); });
  serve("a \xc3\xa9", [](KDH1_request_struct& /*request*/) { return 1; });
  ask("/service/a%20%C3%A9/");

  const HttpReply answer = ask("/api/v1/services");

  EXPECT_EQ(answer.status, 200);
  const nlohmann::json list = parse(answer)["services"];
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0]["name"], "a \xc3\xa9");
  EXPECT_EQ(list[0]["title"], "Title of a \xc3\xa9");
  EXPECT_EQ(list[0]["node"], "node:a \xc3\xa9");
  EXPECT_EQ(list[0]["address"], "/service/a%20%C3%A9/");
  EXPECT_EQ(list[0]["requests"], 1);
  EXPECT_EQ(list[0]["requests_failed"], 1);
  EXPECT_EQ(list[1]["name"], "b");
  EXPECT_EQ(list[1]["requests"], 0);
}

TEST_F(ServiceSiteTest, LeadsTheBareNameIntoTheService) {
  serve("s", [](KDH1_request_struct& request) { return reply(request, ""); });

  const HttpReply answer = ask("/service/s?a=b");

  EXPECT_EQ(answer.status, 308);
  EXPECT_EQ(answer.header("location"), "/service/s/?a=b");
}

TEST_F(ServiceSiteTest, KnowsNoOtherNames) {
  serve("main", [](KDH1_request_struct& request) { return reply(request, ""); });

  for (const char* target : {"/service", "/service/", "/service//", "/service/mian/",
                             "/service/main%2F/", "/service/.."}) {
    const HttpReply answer = ask(target);
    EXPECT_EQ(answer.status, 404) << target;
    EXPECT_EQ(kind(answer), "unknown-service") << target;
  }
  EXPECT_EQ(parse(ask("/service/mian/"))["nearest"], "main");
  EXPECT_EQ(kind(ask("/services")), "not-found");
}

TEST_F(ServiceSiteTest, RefusesPathsThatLeadOut) {
  std::atomic<int> calls{0};
  serve("s", [&](KDH1_request_struct& request) {
    ++calls;
    return reply(request, "");
  });

  for (const char* path : {"..", "../x", "a/..", "%2e%2E/x", ".", "a%2Fb", "a%5cb", "a%0Ab"}) {
    EXPECT_EQ(ask(std::string("/service/s/") + path).status, 400) << path;
  }

  EXPECT_EQ(calls, 0);
  EXPECT_EQ(ask("/service/s/..a").status, 200);
}

TEST_F(ServiceSiteTest, LetsAPageUseItsOwnScriptsButNothingFromElsewhere) {
  serve("s", [](KDH1_request_struct& request) { return reply(request, ""); });

  const HttpReply answer = ask("/service/s/");

  EXPECT_EQ(answer.header("content-security-policy"),
            "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; "
            "img-src 'self' data:; connect-src 'self'; base-uri 'none'; form-action 'self'; "
            "frame-ancestors 'none'");
  EXPECT_EQ(answer.header("x-content-type-options"), "nosniff");
  EXPECT_EQ(answer.header("cache-control"), "no-store");
}

TEST_F(ServiceSiteTest, TellsNothingOfWhatWentWrongInside) {
  using Case = std::pair<const char*, Callback>;
  const std::vector<Case> cases = {
      {"failure", [](KDH1_request_struct& r) { return KDH1_Response(r.handle, 4711, 0, 0), 4711; }},
      {"nothing", [](KDH1_request_struct&) { return 0; }},
      {"result", [](KDH1_request_struct& r) { return reply(r, "secret"), 4711; }},
      {"cut",
       [](KDH1_request_struct& r) {
         KDH1_Response(r.handle, 0, 0, 0);
         KDH1_CreateEntity(r.handle, 1, 10);
         return KDH1_Put(r.handle, "secret", 6);
       }},
      {"exception", [](KDH1_request_struct&) -> int { throw std::runtime_error("secret 4711"); }},
      {"other", [](KDH1_request_struct&) -> int { throw 4711; }},
  };
  for (const auto& [name, callback] : cases) {
    serve(name, callback);

    const HttpReply answer = ask(std::string("/service/") + name + "/");

    EXPECT_EQ(answer.status, 502) << name;
    EXPECT_EQ(kind(answer), "service-failed") << name;
    EXPECT_EQ(answer.body.find("secret"), std::string::npos) << name;
    EXPECT_EQ(answer.body.find("4711"), std::string::npos) << name;
  }
}

TEST_F(ServiceSiteTest, KeepsContentTooLargeAsItIs) {
  serve("s", [](KDH1_request_struct& request) {
    return KDH1_Response(request.handle, kKdh1ContentTooLarge, 0, 0), kKdh1ContentTooLarge;
  });

  EXPECT_EQ(post("/service/s/", "x").status, 413);
}

TEST_F(ServiceSiteTest, SendsUnknownMediaTypesAsBytes) {
  serve("s", [](KDH1_request_struct& request) { return reply(request, "x", 4711); });

  EXPECT_EQ(ask("/service/s/").header("content-type"), "application/octet-stream");
}

TEST_F(ServiceSiteTest, EndsARequestsHandleWithItsCallback) {
  std::atomic<KDH1_request_handle> handle{0};
  serve("s", [&](KDH1_request_struct& request) {
    handle = request.handle;
    return reply(request, "");
  });

  EXPECT_EQ(ask("/service/s/").status, 200);

  EXPECT_EQ(KDH1_Put(handle, "", 0), kKdh1DeadHandle);
}

TEST_F(ServiceSiteTest, ForgetsADeletedService) {
  const KDH1_handle service =
      serve("s", [](KDH1_request_struct& request) { return reply(request, ""); });

  EXPECT_EQ(KDH1_Delete(service), kKdh1Ok);

  EXPECT_TRUE(test::eventually([&] { return returned == 1; }));
  EXPECT_EQ(ask("/service/s/").status, 404);
  EXPECT_EQ(parse(ask("/api/v1/services"))["services"].size(), 0u);
  EXPECT_EQ(KDH1_Delete(service), kKdh1DeadHandle);
}

}  // namespace
}  // namespace fw::http
