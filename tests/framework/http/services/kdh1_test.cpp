#include "agentfw/kdh1.h"

#include <gtest/gtest.h>

#include <thread>

#include "http/services/kdh1_codes.h"
#include "http/services/service_registry.h"
#include "support/test_table.h"

namespace fw::http {
namespace {

int serve(KDH1_request_struct* /*request*/, void* /*context*/) { return 0; }

class Kdh1Test : public testing::Test {
 protected:
  void TearDown() override {
    ServiceRegistry::instance().end();
    ServiceRegistry::instance().open();
  }

  static int make(const char* name, KDH1_handle& service) {
    return KDH1_New(&service, name, serve, nullptr, 0, 0);
  }
};

TEST_F(Kdh1Test, MakesAServiceBeforeThereIsAServer) {
  KDH1_handle service = 0;

  EXPECT_EQ(make("service", service), kKdh1Ok);

  EXPECT_NE(service, 0u);
  EXPECT_EQ(KDH1_PublishService(service, 0, 0, "t", 1, "n", 1), kKdh1Ok);
  EXPECT_EQ(KDH1_Delete(service), kKdh1Ok);
  EXPECT_EQ(KDH1_PublishService(service, 0, 0, "t", 1, "n", 1), kKdh1DeadHandle);
  EXPECT_EQ(KDH1_Delete(service), kKdh1DeadHandle);
}

TEST_F(Kdh1Test, RefusesMissingArguments) {
  KDH1_handle service = 4711;

  EXPECT_EQ(KDH1_New(nullptr, "service", serve, nullptr, 0, 0), kKdh1BadArgument);
  EXPECT_EQ(KDH1_New(&service, nullptr, serve, nullptr, 0, 0), kKdh1BadArgument);
  EXPECT_EQ(KDH1_New(&service, "service", nullptr, nullptr, 0, 0), kKdh1BadArgument);
  EXPECT_EQ(service, 0u);
}

TEST_F(Kdh1Test, RefusesNamesThatAreNoPartOfAnAddress) {
  const std::string tooLong(65, 'a');
  for (const char* name : {"", ".", "..", "a/b", "a\\b", "a\nb", "\xff", tooLong.c_str()}) {
    KDH1_handle service = 4711;
    EXPECT_EQ(make(name, service), kKdh1BadArgument) << name;
    EXPECT_EQ(service, 0u) << name;
  }
}

TEST_F(Kdh1Test, GivesANameToOneServiceOnly) {
  KDH1_handle first = 0;
  KDH1_handle second = 0;
  ASSERT_EQ(make("service", first), kKdh1Ok);

  EXPECT_EQ(make("service", second), kKdh1NameTaken);
  KDH1_Delete(first);
  EXPECT_EQ(make("service", second), kKdh1Ok);
}

TEST_F(Kdh1Test, KnowsALimitOfServices) {
  KDH1_handle service = 0;
  for (std::size_t i = 0; i < ServiceRegistry::kMaxServices; ++i) {
    ASSERT_EQ(make(std::to_string(i).c_str(), service), kKdh1Ok);
  }

  EXPECT_EQ(make("one more", service), kKdh1TooManyServices);
}

TEST_F(Kdh1Test, ListensUntilTheServiceEnds) {
  KDH1_handle service = 0;
  ASSERT_EQ(make("service", service), kKdh1Ok);
  int rc = -1;
  std::thread listener([&] { rc = KDH1_Listen(service, 1); });
  ASSERT_TRUE(
      test::eventually([] { return ServiceRegistry::instance().find("service") != nullptr; }));

  EXPECT_EQ(KDH1_Listen(service, 1), kKdh1OutOfOrder);
  ServiceRegistry::instance().end();
  listener.join();

  EXPECT_EQ(rc, kKdh1Ok);
  EXPECT_EQ(ServiceRegistry::instance().find("service"), nullptr);
  EXPECT_EQ(KDH1_Listen(service, 1), kKdh1NotAvailable);
  EXPECT_EQ(KDH1_Delete(service), kKdh1Ok);
}

TEST_F(Kdh1Test, MakesNoServiceWhenTheAgentHasStopped) {
  ServiceRegistry::instance().end();
  KDH1_handle service = 4711;

  EXPECT_EQ(make("service", service), kKdh1NotAvailable);

  EXPECT_EQ(service, 0u);
}

TEST_F(Kdh1Test, AnswersDeadServicesWithACode) {
  for (const KDH1_handle service : {KDH1_handle{0}, KDH1_handle{1}, ~KDH1_handle{0}}) {
    EXPECT_EQ(KDH1_PublishService(service, 0, 0, "t", 1, "n", 1), kKdh1DeadHandle);
    EXPECT_EQ(KDH1_Listen(service, 1), kKdh1DeadHandle);
    EXPECT_EQ(KDH1_Delete(service), kKdh1DeadHandle);
  }
}

TEST_F(Kdh1Test, AnswersDeadRequestsWithACodeAndEmptyResults) {
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
