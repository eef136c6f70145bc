// From Java objects to the value tree.

#include "bridge/jni/zeljclnt.h"
#include "bridge/jni/zeljvm.h"
#include "support/jvm_fixture.h"

using fakejvm::Raise;
using testing::ElementsAre;

namespace {

class JavaToNativeTest : public JvmTest {
 protected:
  void SetUp() override {
    JvmTest::SetUp();
    ZelJvm::start();
  }

  std::unique_ptr<ZelData> convert(const fakejvm::ObjectPtr& object) {
    std::unique_ptr<ZelData> value(ZelJniClient::javaToNative(*jvm.env(), jvm.local(object)));
    EXPECT_EQ(jvm.localReferences(), 0U) << "the reference is consumed";
    return value;
  }
};

TEST_F(JavaToNativeTest, PrimitivesKeepTheirKind) {
  EXPECT_EQ(convert(fakejvm::integer(-5))->toInt(), -5);
  EXPECT_EQ(convert(fakejvm::longInteger(1LL << 40))->toLong(), 1LL << 40);
  EXPECT_TRUE(convert(fakejvm::boolean(true))->toBool());
  EXPECT_FALSE(convert(fakejvm::boolean(false))->toBool());
  EXPECT_EQ(convert(fakejvm::string("t\xC3\xA4xt"))->toString(), "t\xC3\xA4xt");
  EXPECT_EQ(convert(fakejvm::bytes(std::string("a\0b", 3)))->toByteArray(), std::string("a\0b", 3));
  EXPECT_EQ(convert(fakejvm::bytes(""))->toByteArray(), "");
  EXPECT_EQ(convert(fakejvm::string(""))->toString(), "");
}

TEST_F(JavaToNativeTest, ABooleanIsTrueOnlyWhenItEqualsOne) {
  fakejvm::ObjectPtr odd = fakejvm::boolean(true);
  odd->number = 2;

  EXPECT_FALSE(convert(odd)->toBool());
}

TEST_F(JavaToNativeTest, AListKeepsItsOrder) {
  const auto value = convert(fakejvm::list(
      {fakejvm::integer(2), fakejvm::string("a"), fakejvm::list({fakejvm::integer(1)})}));

  const ZelList& list = value->toList();
  ASSERT_EQ(list.items.size(), 3U);
  EXPECT_EQ(list.items[0]->toInt(), 2);
  EXPECT_EQ(list.items[1]->toString(), "a");
  EXPECT_EQ(list.items[2]->toList().items.size(), 1U);
}

TEST_F(JavaToNativeTest, AMapComesInByKey) {
  const auto value = convert(fakejvm::map({{fakejvm::integer(2), fakejvm::string("two")},
                                           {fakejvm::integer(1), fakejvm::string("one")}}));

  EXPECT_EQ(value->toMap().get(1).toString(), "one");
  EXPECT_EQ(value->toMap().get(2).toString(), "two");
}

TEST_F(JavaToNativeTest, OfEqualKeysTheFirstStays) {
  const auto value = convert(fakejvm::map({{fakejvm::integer(1), fakejvm::string("first")},
                                           {fakejvm::integer(1), fakejvm::string("second")}}));

  EXPECT_EQ(value->toMap().get(1).toString(), "first");
}

TEST_F(JavaToNativeTest, ALongListNeedsTwoReferencesAtATime) {
  const std::vector<fakejvm::ObjectPtr> items(1000, fakejvm::integer(1));

  const auto value = convert(fakejvm::list(items));

  EXPECT_EQ(value->toList().items.size(), 1000U);
  EXPECT_EQ(jvm.peakLocalReferences(), 2U);  // the list and an element
}

TEST_F(JavaToNativeTest, ALongMapNeedsFourReferencesAtATime) {
  std::vector<std::pair<fakejvm::ObjectPtr, fakejvm::ObjectPtr>> entries;
  for (int i = 0; i < 1000; ++i) {
    entries.emplace_back(fakejvm::integer(i), fakejvm::string("value"));
  }

  const auto value = convert(fakejvm::map(entries));

  EXPECT_EQ(value->toMap().entries.size(), 1000U);
  EXPECT_EQ(jvm.peakLocalReferences(), 4U);  // the map, its iterator, an entry, a key or value
}

TEST_F(JavaToNativeTest, ADeepMessageNeedsOneReferenceALevel) {
  fakejvm::ObjectPtr nested = fakejvm::list({});
  for (int level = 1; level < 100; ++level) {
    nested = fakejvm::list({nested});
  }

  convert(nested);

  EXPECT_EQ(jvm.peakLocalReferences(), 100U);
}

TEST_F(JavaToNativeTest, TheClassIsTestedInAFixedOrder) {
  const auto calls = callsOf([&] { convert(fakejvm::boolean(true)); });

  EXPECT_THAT(
      calls,
      ElementsAre("IsInstanceOf(true, java/lang/Integer)", "IsInstanceOf(true, java/lang/String)",
                  "IsInstanceOf(true, [B)", "IsInstanceOf(true, java/util/ArrayList)",
                  "IsInstanceOf(true, java/util/HashMap)", "IsInstanceOf(true, java/lang/Long)",
                  "IsInstanceOf(true, java/lang/Boolean)", "IsInstanceOf(true, java/lang/Boolean)",
                  "CallBooleanMethod(true, java/lang/Boolean.booleanValue)",
                  "DeleteLocalRef(true)"));
}

TEST_F(JavaToNativeTest, AnExceptionWhileConvertingThrowsAndFreesWhatWasBuilt) {
  jvm.raising["java/util/ArrayList.get"] = Raise{.after = 1};
  const auto list = fakejvm::list({fakejvm::integer(1), fakejvm::integer(2)});

  EXPECT_TRUE(throwsZelException("zeljni.cpp", [&] { convert(list); }));

  EXPECT_EQ(jvm.localReferences(), 0U);
}

}  // namespace
