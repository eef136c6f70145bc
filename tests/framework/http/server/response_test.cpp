#include "http/server/response.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

namespace fw::http {
namespace {

std::size_t charactersOf(const std::vector<Header>& headers) {
  std::size_t sum = 0;
  for (const Header& header : headers) {
    sum += header.name.size() + header.value.size();
  }
  return sum;
}

// What is destroyed by then is seen under AddressSanitizer.
void useHeadersAtExit(int /*status*/, void* /*unused*/) {
  const bool isThere = charactersOf(securityHeaders(ContentPolicy::Console)) > 100 &&
                       charactersOf(securityHeaders(ContentPolicy::Application)) > 100;
  _exit(isThere ? 0 : 1);
}

TEST(ResponseDeathTest, HeadersOutliveTheExitOfTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      {
        on_exit(useHeadersAtExit, nullptr);
        securityHeaders(ContentPolicy::Console);
        std::exit(2);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace fw::http
