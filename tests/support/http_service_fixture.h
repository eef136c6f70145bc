#pragma once

#include <cstring>
#include <string>

#include "support/library_fixture.h"
#include "zelhttp.h"

/// Base of tests that send HTTP requests to the agent's service. The application answers with a
/// page.
class HttpServiceTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    bridge.replies[5] = fake::map(
        {{7, fake::integer(200)}, {8, fake::integer(2)}, {9, fake::bytes("<p>hello</p>")}});
  }

  /// Serves a request in German; returns what the service does.
  int serve(const char* method, const std::string& path = "/page", const char* query = "a=b") {
    KDH1_header headers[] = {
        {KDH1_HDR_LANGUAGE, "de", 2},
        {KDH1_HDR_QUERY, query, static_cast<std::uint32_t>(std::strlen(query))},
        {KDH1_HDR_METHOD, method, static_cast<std::uint32_t>(std::strlen(method))},
    };
    const std::string buffer = path + "TRAILING";  // the path is not terminated
    KDH1_request_struct request{8, buffer.data(), static_cast<std::uint32_t>(path.size()), headers,
                                3};
    return zelDefaultHttpService(&request, nullptr);
  }

  static constexpr int kFailed = 0x7C4C8025;
};
