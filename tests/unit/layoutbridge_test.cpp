// The Java bridge as code that was compiled elsewhere sees it: slots, members and cached ids.

#include <gtest/gtest.h>

#include <cstdint>

#include "bridge/jni/zeljclnt.h"
#include "bridge/jni/zeljnivisitor.h"
#include "bridge/jni/zeljvm.h"
#include "support/jvm_fixture.h"
#include "support/layout.h"
#include "support/trace_view.h"

namespace {

using layout::slot;
using layout::slotOf;
using layout::valueAt;

constexpr std::size_t kWord = sizeof(void*);

class LayoutBridgeTest : public JvmTest {
 protected:
  JNIEnv& jni() { return *jvm.env(); }
};

TEST_F(LayoutBridgeTest, KeepsTheMembersOfWrappedObjects) {
  ZelJvm::start();
  // The table comes first, then the environment of the base.
  ZelJObject object(jni(), ZelJInteger::s_class, jvm.local(fakejvm::integer(5)));

  EXPECT_EQ((valueAt<JNIEnv*>(&object, kWord)), jvm.env());
  EXPECT_EQ((valueAt<jobject>(&object, 2 * kWord)), object.getHandle());
  EXPECT_EQ((valueAt<std::uint8_t>(&object, 3 * kWord)), 1);  // owns a local reference
  EXPECT_EQ(sizeof(ZelJObject), 4 * kWord);
  EXPECT_EQ(sizeof(ZelJEnv), kWord);

  ZelJObject null(jni(), ZelJInteger::s_class, jobject{nullptr});
  EXPECT_EQ((valueAt<std::uint8_t>(&null, 3 * kWord)), 1);
}

TEST_F(LayoutBridgeTest, KeepsTheMembersOfStrings) {
  ZelJvm::start();
  ZelJString text(jni(), jvm.local(fakejvm::string("abc")));
  EXPECT_EQ((valueAt<jobject>(&text, 4 * kWord)), text.getHandle());
  EXPECT_EQ((valueAt<int>(&text, 5 * kWord)), 0);
  EXPECT_EQ((valueAt<const char*>(&text, 6 * kWord)), nullptr);

  text.getLength();
  const char* characters = text.getData();

  EXPECT_EQ((valueAt<int>(&text, 5 * kWord)), 3);
  EXPECT_EQ((valueAt<const char*>(&text, 6 * kWord)), characters);
  EXPECT_EQ(sizeof(ZelJString), 7 * kWord);
}

TEST_F(LayoutBridgeTest, KeepsTheMembersOfByteArrays) {
  ZelJvm::start();
  ZelJByteArray array(jni(), jvm.local(fakejvm::bytes("abc")));
  EXPECT_EQ((valueAt<jobject>(&array, 4 * kWord)), array.getHandle());
  EXPECT_EQ((valueAt<signed char*>(&array, 5 * kWord)), nullptr);

  signed char* elements = array.getData();

  EXPECT_EQ((valueAt<signed char*>(&array, 5 * kWord)), elements);
  EXPECT_EQ(sizeof(ZelJByteArray), 6 * kWord);
}

TEST_F(LayoutBridgeTest, AddsNoMembersInTheOtherWrappers) {
  EXPECT_EQ(sizeof(ZelJInteger), sizeof(ZelJObject));
  EXPECT_EQ(sizeof(ZelJLong), sizeof(ZelJObject));
  EXPECT_EQ(sizeof(ZelJBoolean), sizeof(ZelJObject));
  EXPECT_EQ(sizeof(ZelJIterator), sizeof(ZelJObject));
  EXPECT_EQ(sizeof(ZelJArrayList), sizeof(ZelJObject));
  EXPECT_EQ(sizeof(ZelJMapEntry), sizeof(ZelJObject));
  EXPECT_EQ(sizeof(ZelJHashMap), sizeof(ZelJObject));
  EXPECT_EQ(sizeof(ZelJServer), sizeof(ZelJObject));
  EXPECT_EQ(sizeof(ZelJniClient), sizeof(ZelClient));
}

TEST_F(LayoutBridgeTest, KeepsTheSlotsOfTheClient) {
  // Slots 0 and 1 are the destructors.
  EXPECT_EQ(slotOf(&ZelClient::request), 2);
  EXPECT_EQ(slotOf(&ZelClient::subscribe), 3);
  EXPECT_EQ(slotOf(&ZelClient::unsubscribe), 4);
  EXPECT_EQ(slotOf(&ZelJniClient::request), 2);
  EXPECT_EQ(slotOf(&ZelJniClient::subscribe), 3);
  EXPECT_EQ(slotOf(&ZelJniClient::unsubscribe), 4);
  EXPECT_EQ(slotOf(&ZelJniClient::putOutbound), 5);
}

TEST_F(LayoutBridgeTest, SendsThroughTheSixthSlotOfTheClientAndDeletesItThroughTheSecond) {
  auto* client = new ZelJniClient;
  std::string sent;
  jvm.onProcessInbound = [&](JNIEnv*, const fakejvm::ObjectPtr& msg) { sent = describe(msg); };
  const ZelMap envelope;

  slot<void(void*, const ZelMap&)>(client, 5)(client, envelope);
  EXPECT_EQ(sent, "{}");

  slot<void(void*)>(client, 1)(client);
  EXPECT_EQ(ZelJniClient::s_server.load(), nullptr);
}

TEST_F(LayoutBridgeTest, HasTheDestructorAsTheOnlyVirtualOperationOfTheServer) {
  EXPECT_EQ(slotOf(&ZelJServer::processInbound), -1);
  ZelJvm::start();
  auto* server = new ZelJServer(jni(), jvm.local(jvm.server));
  EXPECT_EQ((valueAt<std::uint8_t>(server, 3 * kWord)), 0);  // a global reference instead
  framework.setMask("ZELJCLNT", kRas1Flow);

  slot<void(void*)>(server, 1)(server);

  EXPECT_THAT(fake::flowOf("ZELJCLNT"),
              testing::ElementsAre("~ZelJServer entry", "~ZelJServer exit"));
}

TEST_F(LayoutBridgeTest, KeepsTheSlotsOfTheVisitorWhichHasNoDestructor) {
  EXPECT_EQ(slotOf(&ZelJniDataVisitor::visitInt), 0);
  EXPECT_EQ(slotOf(&ZelJniDataVisitor::visitLong), 1);
  EXPECT_EQ(slotOf(&ZelJniDataVisitor::visitBool), 2);
  EXPECT_EQ(slotOf(&ZelJniDataVisitor::visitString), 3);
  EXPECT_EQ(slotOf(&ZelJniDataVisitor::visitByteArray), 4);
  EXPECT_EQ(slotOf(&ZelJniDataVisitor::visitList), 5);
  EXPECT_EQ(slotOf(&ZelJniDataVisitor::visitMap), 6);
}

TEST_F(LayoutBridgeTest, VisitsThroughTheSlotsAndKeepsTheResultLast) {
  ZelJvm::start();
  ZelJniDataVisitor visitor(jni());
  EXPECT_EQ((valueAt<JNIEnv*>(&visitor, kWord)), jvm.env());
  EXPECT_EQ((valueAt<jobject>(&visitor, 2 * kWord)), nullptr);
  EXPECT_EQ(sizeof(ZelJniDataVisitor), 3 * kWord);
  const TZelPrimitive<int> integer(5);
  const TZelPrimitive<long long> longInteger(6);
  const TZelPrimitive<bool> flag(true);
  const TZelPrimitive<std::string> text("text");
  const ZelByteArray bytes("b");
  const ZelList list;
  const ZelMap map;
  const std::pair<const ZelData*, const char*> values[] = {
      {&integer, "5"},   {&longInteger, "6L"}, {&flag, "true"}, {&text, "\"text\""},
      {&bytes, "x'62'"}, {&list, "[]"},        {&map, "{}"}};

  for (std::size_t i = 0; i < std::size(values); ++i) {
    slot<void(void*, const void*)>(&visitor, i)(&visitor, values[i].first);

    const auto result = valueAt<jobject>(&visitor, 2 * kWord);
    EXPECT_EQ(result, visitor.getResult());
    EXPECT_EQ(describe(jvm.resolve(result)), values[i].second);
  }
}

TEST_F(LayoutBridgeTest, FillsEveryPublishedMethodId) {
  const std::string object = "Ljava/lang/Object;";
  const struct {
    jmethodID& id;
    std::string method;
  } ids[] = {
      {ZelJInteger::s_mCtorIntArg, "java/lang/Integer.<init>(I)V"},
      {ZelJInteger::s_mIntValue, "java/lang/Integer.intValue()I"},
      {ZelJLong::s_mCtorLongArg, "java/lang/Long.<init>(J)V"},
      {ZelJLong::s_mLongValue, "java/lang/Long.longValue()J"},
      {ZelJBoolean::s_mCtorBoolArg, "java/lang/Boolean.<init>(Z)V"},
      {ZelJBoolean::s_mBooleanValue, "java/lang/Boolean.booleanValue()Z"},
      {ZelJIterator::s_mNext, "java/util/Iterator.next()" + object},
      {ZelJIterator::s_mHasNext, "java/util/Iterator.hasNext()Z"},
      {ZelJArrayList::s_mCtor, "java/util/ArrayList.<init>()V"},
      {ZelJArrayList::s_mAdd, "java/util/ArrayList.add(" + object + ")Z"},
      {ZelJArrayList::s_mGet, "java/util/ArrayList.get(I)" + object},
      {ZelJArrayList::s_mSize, "java/util/ArrayList.size()I"},
      {ZelJMapEntry::s_mGetKey, "java/util/Map$Entry.getKey()" + object},
      {ZelJMapEntry::s_mGetValue, "java/util/Map$Entry.getValue()" + object},
      {ZelJHashMap::s_mCtor, "java/util/HashMap.<init>()V"},
      {ZelJHashMap::s_mPut, "java/util/HashMap.put(" + object + object + ")" + object},
      {ZelJHashMap::s_mGet, "java/util/HashMap.get(" + object + ")" + object},
      {ZelJHashMap::s_mNewEntryIterator,
       "java/util/HashMap.newEntryIterator()Ljava/util/Iterator;"},
      {ZelJServer::s_mProcessInbound,
       "com/qrv/norvel/monitoring/toolkit/workbench/ipc/msg/jni/JniServer.processInbound(" +
           object + ")V"},
  };
  for (const auto& entry : ids) {
    entry.id = nullptr;
  }

  ZelJvm::start();

  for (const auto& entry : ids) {
    EXPECT_EQ(fakejvm::Jvm::describeMethod(entry.id), entry.method);
  }
}

TEST_F(LayoutBridgeTest, FillsEveryPublishedClassReference) {
  const std::pair<jclass&, const char*> classes[] = {
      {ZelJString::s_class, "java/lang/String"},
      {ZelJByteArray::s_class, "[B"},
      {ZelJInteger::s_class, "java/lang/Integer"},
      {ZelJLong::s_class, "java/lang/Long"},
      {ZelJBoolean::s_class, "java/lang/Boolean"},
      {ZelJIterator::s_class, "java/util/Iterator"},
      {ZelJArrayList::s_class, "java/util/ArrayList"},
      {ZelJMapEntry::s_class, "java/util/Map$Entry"},
      {ZelJHashMap::s_class, "java/util/HashMap"},
      {ZelJServer::s_class, "com/qrv/norvel/monitoring/toolkit/workbench/ipc/msg/jni/JniServer"}};

  ZelJvm::start();

  for (const auto& [reference, name] : classes) {
    EXPECT_EQ(describe(jvm.resolve(reference)), std::string("class ") + name);
  }
  EXPECT_EQ(describe(jvm.resolve(ZelJvm::s_errorClass.load())), "class java/lang/Error");
}

}  // namespace
