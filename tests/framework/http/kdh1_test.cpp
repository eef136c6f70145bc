#include "agentfw/kdh1.h"

#include <gtest/gtest.h>

#include "http/kdh1_codes.h"

namespace fw::http {
namespace {

int serve(KDH1_request_struct* /*request*/, void* /*context*/) { return 0; }

TEST(Kdh1Test, SaysThatNoServiceCanBeMade) {
  KDH1_handle service = 4711;

  EXPECT_EQ(KDH1_New(&service, "service", serve, nullptr, 0, 0), kKdh1NotAvailable);

  EXPECT_EQ(service, 0u);
}

TEST(Kdh1Test, RefusesMissingArguments) {
  KDH1_handle service = 4711;

  EXPECT_EQ(KDH1_New(nullptr, "service", serve, nullptr, 0, 0), kKdh1BadArgument);
  EXPECT_EQ(KDH1_New(&service, nullptr, serve, nullptr, 0, 0), kKdh1BadArgument);
  EXPECT_EQ(KDH1_New(&service, "service", nullptr, nullptr, 0, 0), kKdh1BadArgument);
}

TEST(Kdh1Test, AnswersDeadServicesWithACode) {
  for (const KDH1_handle service : {KDH1_handle{0}, KDH1_handle{1}, ~KDH1_handle{0}}) {
    EXPECT_EQ(KDH1_PublishService(service, 0, 0, "t", 1, "n", 1), kKdh1DeadHandle);
    EXPECT_EQ(KDH1_Listen(service, 1), kKdh1DeadHandle);
    EXPECT_EQ(KDH1_Delete(service), kKdh1DeadHandle);
  }
}

TEST(Kdh1Test, AnswersDeadRequestsWithACodeAndEmptyResults) {
  std::uint32_t options = 7;
  std::uint32_t value = 7;
  std::uint32_t length = 7;
  char byte = 'x';

  EXPECT_EQ(KDH1_ActivityOptions(1, kKdh1ActivityAccounting, nullptr, &options), kKdh1DeadHandle);
  EXPECT_EQ(KDH1_OpenEntity(1, &value, &length), kKdh1DeadHandle);
  EXPECT_EQ(KDH1_Get(1, &byte, 1), kKdh1DeadHandle);
  EXPECT_EQ(KDH1_Response(1, 0, 0, 0), kKdh1DeadHandle);
  EXPECT_EQ(KDH1_CreateEntity(1, KDH1_MEDIA_TEXT, 1), kKdh1DeadHandle);
  EXPECT_EQ(KDH1_Put(1, &byte, 1), kKdh1DeadHandle);

  EXPECT_EQ(options, 0u);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(byte, 'x');
}

}  // namespace
}  // namespace fw::http
