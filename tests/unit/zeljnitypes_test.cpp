// The wrappers of the Java library's classes.

#include <algorithm>
#include <cstring>

#include "bridge/jni/zeljclnt.h"
#include "support/jni_fixture.h"

using fakejvm::Raise;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ZelJniTypesTest : public JniTest {
 protected:
  /// The iterator of a map with the entry 1: 2.
  static fakejvm::ObjectPtr entryIterator() {
    fakejvm::ObjectPtr node = fakejvm::instance("java/util/HashMap$Node");
    node->items = {fakejvm::integer(1), fakejvm::integer(2)};
    fakejvm::ObjectPtr iterator = fakejvm::instance("java/util/HashMap$EntryIterator");
    iterator->items = {node};
    return iterator;
  }
};

TEST_F(ZelJniTypesTest, ANullObjectMayBeWrapped) {
  const auto calls = callsOf([&] {
    ZelJString text(jni(), nullptr);
    EXPECT_TRUE(text.isNull());
    EXPECT_EQ(text.getLength(), 0);
    EXPECT_EQ(text.getData(), nullptr);
    ZelJByteArray array(jni(), nullptr);
    EXPECT_TRUE(array.isNull());
    EXPECT_EQ(array.getLength(), 0);
    EXPECT_EQ(array.getData(), nullptr);
    EXPECT_TRUE(ZelJInteger(jni(), jobject{nullptr}).isNull());
    EXPECT_TRUE(ZelJHashMap(jni(), nullptr).isNull());
  });

  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(ZelJniTypesTest, AnObjectOfAnotherClassIsRefused) {
  jobject object = jvm.local(fakejvm::integer(5));
  const std::function<void()> wraps[] = {
      [&] { ZelJString(jni(), object); },   [&] { ZelJByteArray(jni(), object); },
      [&] { ZelJLong(jni(), object); },     [&] { ZelJBoolean(jni(), object); },
      [&] { ZelJIterator(jni(), object); }, [&] { ZelJArrayList(jni(), object); },
      [&] { ZelJMapEntry(jni(), object); }, [&] { ZelJHashMap(jni(), object); },
  };
  for (const auto& wrap : wraps) {
    EXPECT_THAT(messagesOf([&] { EXPECT_TRUE(throwsZelException("zeljni.cpp", wrap)); }),
                IsEmpty());
  }
  drop(object);

  object = jvm.local(fakejvm::string("5"));
  EXPECT_TRUE(throwsZelException("zeljni.cpp", [&] { ZelJInteger(jni(), object); }));
  drop(object);
}

TEST_F(ZelJniTypesTest, AnObjectOfADerivedClassIsAccepted) {
  const ZelJHashMap map(jni(), jvm.local(fakejvm::instance("java/util/LinkedHashMap")));

  EXPECT_FALSE(map.isNull());
}

TEST_F(ZelJniTypesTest, AnObjectThatCannotBeCreatedThrowsOnlyWithAnException) {
  jvm.raising["NewObject"] = Raise{};
  EXPECT_TRUE(throws([&] { ZelJInteger(jni(), 5); }));

  jvm.nullResults = {"NewObject"};
  EXPECT_TRUE(ZelJInteger(jni(), 5).isNull());
}

TEST_F(ZelJniTypesTest, BoxedValuesAreCreatedAndRead) {
  EXPECT_EQ(ZelJInteger(jni(), -5).intValue(), -5);
  EXPECT_EQ(ZelJLong(jni(), 1LL << 40).longValue(), 1LL << 40);
  EXPECT_EQ(ZelJBoolean(jni(), static_cast<unsigned char>(1)).booleanValue(), 1);
  EXPECT_EQ(ZelJBoolean(jni(), static_cast<unsigned char>(0)).booleanValue(), 0);
}

TEST_F(ZelJniTypesTest, EveryCallOfAMethodIsTestedAndThrowsWhatJavaThrows) {
  ZelJInteger integer(jni(), 5);
  ZelJLong number(jni(), 5LL);
  ZelJBoolean flag(jni(), static_cast<unsigned char>(1));
  ZelJArrayList list(jni());
  ZelJHashMap map(jni());
  ZelJIterator entries(jni(), jvm.local(entryIterator()));
  ZelJMapEntry entry(jni(), jvm.local(entryIterator()->items[0]));
  ZelJObject server(jni(), ZelJServer::s_class, jvm.local(jvm.server));
  const std::pair<std::string, std::function<void()>> calls[] = {
      {"java/lang/Integer.intValue", [&] { integer.intValue(); }},
      {"java/lang/Long.longValue", [&] { number.longValue(); }},
      {"java/lang/Boolean.booleanValue", [&] { flag.booleanValue(); }},
      {"java/util/ArrayList.add", [&] { list.add(integer); }},
      {"java/util/ArrayList.get", [&] { drop(list.get(0)); }},
      {"java/util/ArrayList.size", [&] { list.size(); }},
      {"java/util/HashMap.put", [&] { drop(map.put(integer, number)); }},
      {"java/util/HashMap.get", [&] { drop(map.get(5)); }},
      {"java/util/HashMap.newEntryIterator", [&] { map.newEntryIterator(); }},
      {"java/util/Iterator.hasNext", [&] { entries.hasNext(); }},
      {"java/util/Iterator.next", [&] { drop(entries.next()); }},
      {"java/util/Map$Entry.getKey", [&] { drop(entry.getKey()); }},
      {"java/util/Map$Entry.getValue", [&] { drop(entry.getValue()); }},
      {jvm.server->className + ".processInbound",
       [&] { server.callVoidMethod(ZelJServer::s_mProcessInbound, integer.getHandle()); }},
  };
  for (const auto& [method, call] : calls) {
    const auto made = checkedCallsOf(call);
    const auto found = std::find_if(made.begin(), made.end(), [&, name = method](const auto& text) {
      return text.rfind("Call", 0) == 0 && text.find(name) != std::string::npos;
    });
    ASSERT_LT(found + 1, made.end()) << method;
    EXPECT_EQ(found[1], "ExceptionOccurred()") << method;

    jvm.raising = {{method, Raise{}}};
    EXPECT_TRUE(throws(call)) << method;
  }
}

TEST_F(ZelJniTypesTest, AListIsFilledAndReadInOrder) {
  ZelJArrayList list(jni());
  const ZelJInteger first(jni(), 1);
  const ZelJInteger second(jni(), 2);

  EXPECT_TRUE(list.add(first));
  EXPECT_TRUE(list.add(second));

  EXPECT_EQ(list.size(), 2);
  EXPECT_EQ(take(list.get(0)), "1");
  EXPECT_EQ(take(list.get(1)), "2");
}

TEST_F(ZelJniTypesTest, AMapIsReadByTheValueOfAnIntegerKey) {
  ZelJHashMap map(jni(), jvm.local(fakejvm::map({{fakejvm::integer(5), fakejvm::string("v")}})));

  std::string value;
  const auto calls = callsOf([&] { value = take(map.get(5)); });

  EXPECT_EQ(value, "\"v\"");
  EXPECT_THAT(calls, ElementsAre("NewObject(java/lang/Integer, 5)",
                                 "CallObjectMethod({5: \"v\"}, java/util/HashMap.get)",
                                 "DeleteLocalRef(5)", "DeleteLocalRef(\"v\")"));
  EXPECT_EQ(map.get(6), nullptr);
}

TEST_F(ZelJniTypesTest, AMapIsFilledAndWalked) {
  ZelJHashMap map(jni());
  const ZelJInteger key(jni(), 1);
  EXPECT_EQ(map.put(key, key), nullptr);
  EXPECT_EQ(take(map.put(key, key)), "1");

  ZelJIterator entries = map.newEntryIterator();

  ASSERT_TRUE(entries.hasNext());
  ZelJMapEntry entry(jni(), entries.next());
  EXPECT_EQ(take(entry.getKey()), "1");
  EXPECT_EQ(take(entry.getValue()), "1");
  EXPECT_FALSE(entries.hasNext());
}

TEST_F(ZelJniTypesTest, TheIteratorOfAMapOwnsItsReferenceAlone) {
  ZelJHashMap map(jni());

  EXPECT_THAT(callsOf([&] { map.newEntryIterator(); }),
              ElementsAre("CallObjectMethod({}, java/util/HashMap.newEntryIterator)",
                          "IsInstanceOf(java/util/HashMap$EntryIterator, java/util/Iterator)",
                          "DeleteLocalRef(java/util/HashMap$EntryIterator)"));
}

TEST_F(ZelJniTypesTest, AStringsCharactersAndLengthAreAskedOnce) {
  const auto calls = callsOf([&] {
    ZelJString text(jni(), jvm.local(fakejvm::string("abc")));
    EXPECT_STREQ(text.getData(), "abc");
    EXPECT_STREQ(text.getData(), "abc");
    EXPECT_EQ(text.getLength(), 3);
    EXPECT_EQ(text.getLength(), 3);
  });

  EXPECT_THAT(calls, ElementsAre("IsInstanceOf(\"abc\", java/lang/String)",
                                 "GetStringUTFChars(\"abc\")", "GetStringUTFLength(\"abc\")",
                                 "ReleaseStringUTFChars(\"abc\")", "DeleteLocalRef(\"abc\")"));
}

TEST_F(ZelJniTypesTest, AnEmptyStringsLengthIsAskedEveryTime) {
  ZelJString text(jni(), jvm.local(fakejvm::string("")));

  EXPECT_THAT(callsOf([&] {
                EXPECT_EQ(text.getLength(), 0);
                EXPECT_EQ(text.getLength(), 0);
              }),
              ElementsAre("GetStringUTFLength(\"\")", "GetStringUTFLength(\"\")"));
}

TEST_F(ZelJniTypesTest, ReleasedCharactersAreTakenAnew) {
  ZelJString text(jni(), jvm.local(fakejvm::string("abc")));
  text.getData();
  text.release();
  EXPECT_EQ(jvm.heldBuffers(), 0U);
  EXPECT_THAT(callsOf([&] { text.release(); }), IsEmpty());

  EXPECT_STREQ(text.getData(), "abc");
}

TEST_F(ZelJniTypesTest, ReleasedElementsAreTakenAnew) {
  ZelJByteArray array(jni(), jvm.local(fakejvm::bytes("abc")));
  array.getData();
  array.release();
  EXPECT_EQ(jvm.heldBuffers(), 0U);
  EXPECT_THAT(callsOf([&] { array.release(); }), IsEmpty());

  EXPECT_THAT(callsOf([&] { array.getData(); }), ElementsAre("GetByteArrayElements(x'616263')"));
}

TEST_F(ZelJniTypesTest, CharactersAndElementsThatAreTakenAreNotTestedForAnException) {
  ZelJString text(jni(), jvm.local(fakejvm::string("abc")));
  ZelJByteArray array(jni(), jvm.local(fakejvm::bytes("abc")));

  EXPECT_THAT(checkedCallsOf([&] {
                text.getData();
                array.getData();
              }),
              ElementsAre("GetStringUTFChars(\"abc\")", "GetByteArrayElements(x'616263')"));
}

TEST_F(ZelJniTypesTest, CharactersThatCannotBeTakenThrowOnlyWithAnException) {
  ZelJString text(jni(), jvm.local(fakejvm::string("abc")));
  jvm.raising["GetStringUTFChars"] = Raise{};
  EXPECT_TRUE(throws([&] { text.getData(); }, "zeljnitypes.cpp"));

  jvm.nullResults = {"GetStringUTFChars"};
  EXPECT_EQ(text.getData(), nullptr);
}

TEST_F(ZelJniTypesTest, ACopiedTextIsTerminatedOnlyWhereThereIsRoom) {
  ZelJString text(jni(), jvm.local(fakejvm::string("abc")));
  char buffer[6];

  std::memset(buffer, '#', sizeof(buffer));
  text.getData(buffer, 5);
  EXPECT_EQ(std::string(buffer, 6), std::string("abc\0\0#", 6));

  std::memset(buffer, '#', sizeof(buffer));
  text.getData(buffer, 2);
  EXPECT_EQ(std::string(buffer, 4), "ab##");

  ZelJString null(jni(), nullptr);
  null.getData(buffer, 2);
  EXPECT_EQ(std::string(buffer, 3), std::string("\0\0#", 3));
}

TEST_F(ZelJniTypesTest, AnArraysElementsAreTakenOnceAndNotWrittenBack) {
  const auto calls = callsOf([&] {
    ZelJByteArray array(jni(), jvm.local(fakejvm::bytes("ab")));
    EXPECT_EQ(array.getData()[1], 'b');
    EXPECT_EQ(array.getData()[0], 'a');
    EXPECT_EQ(array.getLength(), 2);
    EXPECT_EQ(array.getLength(), 2);
  });

  EXPECT_THAT(calls,
              ElementsAre("IsInstanceOf(x'6162', [B)", "GetByteArrayElements(x'6162')",
                          "GetArrayLength(x'6162')", "GetArrayLength(x'6162')",
                          "ReleaseByteArrayElements(x'6162', mode 2)", "DeleteLocalRef(x'6162')"));
}

TEST_F(ZelJniTypesTest, ElementsThatCannotBeTakenThrow) {
  ZelJByteArray array(jni(), jvm.local(fakejvm::bytes("ab")));
  jvm.raising["GetByteArrayElements"] = Raise{};

  EXPECT_TRUE(throws([&] { array.getData(); }, "zeljnitypes.cpp"));
}

TEST_F(ZelJniTypesTest, CopiedBytesAreCutOrPaddedWithZeros) {
  char buffer[5];

  std::memset(buffer, '#', sizeof(buffer));
  ZelJByteArray(jni(), jvm.local(fakejvm::bytes("0123456789"))).getData(buffer, 4);
  EXPECT_EQ(std::string(buffer, 5), "0123#");

  std::memset(buffer, '#', sizeof(buffer));
  ZelJByteArray(jni(), jvm.local(fakejvm::bytes("01"))).getData(buffer, 4);
  EXPECT_EQ(std::string(buffer, 5), std::string("01\0\0#", 5));

  std::memset(buffer, '#', sizeof(buffer));
  EXPECT_THAT(callsOf([&] { ZelJByteArray(jni(), nullptr).getData(buffer, 4); }), IsEmpty());
  EXPECT_EQ(std::string(buffer, 5), std::string("\0\0\0\0#", 5));

  EXPECT_THAT(
      callsOf([&] { ZelJByteArray(jni(), jvm.local(fakejvm::bytes(""))).getData(buffer, 4); }),
      testing::Not(testing::Contains(testing::StartsWith("GetByteArrayElements"))));
}

TEST_F(ZelJniTypesTest, SomeClassesAreLookedUpOnceAndTheOthersAtEveryInitialisation) {
  ZelJEnv env(jni());
  const auto calls = callsOf([&] {
    ZelJInteger::init(env);
    ZelJLong::init(env);
    ZelJBoolean::init(env);
    ZelJIterator::init(env);
    ZelJArrayList::init(env);
  });
  EXPECT_THAT(calls, IsEmpty());

  const std::pair<std::string, void (*)(ZelJEnv&)> others[] = {
      {"FindClass(java/lang/String)", ZelJString::init},
      {"FindClass([B)", ZelJByteArray::init},
      {"FindClass(java/util/Map$Entry)", ZelJMapEntry::init},
      {"FindClass(java/util/HashMap)", ZelJHashMap::init},
  };
  for (const auto& [lookUp, init] : others) {
    EXPECT_EQ(callsOf([&, i = init] { i(env); }).front(), lookUp);
  }
}

TEST_F(ZelJniTypesTest, AGivenUpReferenceOutlivesItsWrapper) {
  jobject object = ZelJInteger(jni(), 5).detach();

  EXPECT_EQ(take(object), "5");
}

}  // namespace
