#include "http/services/service_call.h"

#include <gtest/gtest.h>

#include "http/services/kdh1_codes.h"

namespace fw::http {
namespace {

class ServiceCallTest : public testing::Test {
 protected:
  static Request makeRequest() {
    Request request;
    request.method = "POST";
    request.body = "0123456789";
    return request;
  }

  /// A live call, reached through its handle as a callback reaches it.
  ServiceCallTest()
      : call(std::make_shared<ServiceCall>(makeRequest(), "/", 100)),
        handle(ServiceCall::live().add(call)) {}
  ~ServiceCallTest() override { ServiceCall::live().remove(handle); }

  std::shared_ptr<ServiceCall> call;
  KDH1_request_handle handle;
  std::uint32_t length = 0;
  char buffer[16] = {};
};

TEST_F(ServiceCallTest, StoresActivityOptionsAndGivesThoseBefore) {
  std::uint32_t options = 7;
  EXPECT_EQ(KDH1_ActivityOptions(handle, kKdh1ActivityAccounting, nullptr, &options), kKdh1Ok);
  EXPECT_EQ(options, 0u);

  options = 3;
  EXPECT_EQ(KDH1_ActivityOptions(handle, kKdh1ActivityAccounting, &options, &options), kKdh1Ok);
  EXPECT_EQ(options, 0u);
  EXPECT_EQ(KDH1_ActivityOptions(handle, kKdh1ActivityAccounting, nullptr, &options), kKdh1Ok);
  EXPECT_EQ(options, 3u);
  EXPECT_EQ(KDH1_ActivityOptions(handle, 5, nullptr, &options), kKdh1BadArgument);
}

TEST_F(ServiceCallTest, ReadsTheContentPieceByPieceAndNotBeyond) {
  EXPECT_EQ(KDH1_Get(handle, buffer, 1), kKdh1OutOfOrder);
  EXPECT_EQ(KDH1_OpenEntity(handle, nullptr, &length), kKdh1Ok);
  EXPECT_EQ(length, 10u);
  EXPECT_EQ(KDH1_OpenEntity(handle, nullptr, &length), kKdh1OutOfOrder);

  EXPECT_EQ(KDH1_Get(handle, buffer, 4), kKdh1Ok);
  EXPECT_EQ(KDH1_Get(handle, buffer + 4, 7), kKdh1PastEnd);
  EXPECT_EQ(KDH1_Get(handle, buffer + 4, 6), kKdh1Ok);

  EXPECT_STREQ(buffer, "0123456789");
  EXPECT_EQ(KDH1_Get(handle, buffer, 1), kKdh1PastEnd);
}

TEST_F(ServiceCallTest, GivesTheTextsOfTheRequestAsJavaTakesThem) {
  const std::string text("a\0\u00E9\U0001F600", 8);
  const std::string modified = "a\xC0\x80\u00E9\xED\xA0\xBD\xED\xB8\x80";
  Request request = makeRequest();
  request.body = text;
  request.acceptLanguage = "\U0001F600";
  const auto texts = std::make_shared<ServiceCall>(request, "/\U0001F600", 100);
  const KDH1_request_handle other = ServiceCall::live().add(texts);

  const KDH1_request_struct described = texts->describe(other);
  EXPECT_EQ(KDH1_OpenEntity(other, nullptr, &length), kKdh1Ok);
  EXPECT_EQ(KDH1_Get(other, buffer, length), kKdh1Ok);

  EXPECT_EQ(std::string(described.path, described.pathLength), "/\xED\xA0\xBD\xED\xB8\x80");
  EXPECT_EQ(described.headers[0].id, KDH1_HDR_LANGUAGE);
  EXPECT_EQ(std::string(described.headers[0].text, described.headers[0].length),
            "\xED\xA0\xBD\xED\xB8\x80");
  EXPECT_EQ(std::string(buffer, length), modified);
  ServiceCall::live().remove(other);
}

TEST_F(ServiceCallTest, TakesAResponseInItsOrderOnly) {
  EXPECT_EQ(KDH1_CreateEntity(handle, KDH1_MEDIA_TEXT, 3), kKdh1OutOfOrder);
  EXPECT_EQ(KDH1_Response(handle, 0, 0, 0), kKdh1Ok);
  EXPECT_EQ(KDH1_Response(handle, 0, 0, 0), kKdh1OutOfOrder);
  EXPECT_EQ(KDH1_Put(handle, "abc", 3), kKdh1OutOfOrder);
  EXPECT_EQ(KDH1_CreateEntity(handle, KDH1_MEDIA_TEXT, 3), kKdh1Ok);
  EXPECT_EQ(KDH1_CreateEntity(handle, KDH1_MEDIA_TEXT, 3), kKdh1OutOfOrder);
  EXPECT_EQ(KDH1_Put(handle, "a", 1), kKdh1Ok);
  EXPECT_EQ(KDH1_Put(handle, "bcd", 3), kKdh1PastEnd);
  EXPECT_EQ(KDH1_Put(handle, "bc", 2), kKdh1Ok);

  const Response response = call->finish(0);
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(std::get<std::string>(response.content), "abc");
}

TEST_F(ServiceCallTest, GivesAFailureNoContent) {
  EXPECT_EQ(KDH1_Response(handle, 1, 0, 0), kKdh1Ok);
  EXPECT_EQ(KDH1_CreateEntity(handle, KDH1_MEDIA_TEXT, 1), kKdh1OutOfOrder);
}

TEST_F(ServiceCallTest, BoundsTheResponse) {
  KDH1_Response(handle, 0, 0, 0);

  EXPECT_EQ(KDH1_CreateEntity(handle, KDH1_MEDIA_TEXT, 101), kKdh1ResponseTooLarge);
  EXPECT_EQ(KDH1_CreateEntity(handle, KDH1_MEDIA_TEXT, 100), kKdh1Ok);
}

TEST_F(ServiceCallTest, RefusesMissingBuffers) {
  EXPECT_EQ(KDH1_OpenEntity(handle, nullptr, nullptr), kKdh1BadArgument);
  EXPECT_EQ(KDH1_Get(handle, nullptr, 1), kKdh1BadArgument);
  EXPECT_EQ(KDH1_Put(handle, nullptr, 1), kKdh1BadArgument);
}

TEST_F(ServiceCallTest, IsGoneWithItsHandle) {
  ServiceCall::live().remove(handle);

  EXPECT_EQ(KDH1_Response(handle, 0, 0, 0), kKdh1DeadHandle);
}

}  // namespace
}  // namespace fw::http
