#include "bridge/jni/zeljni.h"

#include "support/jni_fixture.h"
#include "support/trace_view.h"

using fakejvm::Raise;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using ZelJniTest = JniTest;

// An operation with its name in the fake and a call of it that gives null when it fails.
struct Nullable {
  std::string name;
  std::function<void*(ZelJEnv& env)> call;
};

std::vector<Nullable> nullableOperations() {
  return {
      {"NewStringUTF", [](ZelJEnv& env) -> void* { return env.newStringUTF("text"); }},
      {"NewByteArray", [](ZelJEnv& env) -> void* { return env.newByteArray(3); }},
      {"NewGlobalRef",
       [](ZelJEnv& env) -> void* {
         // A stack wrapper, since the operation may throw.
         const ZelJInteger object(env.getEnv(), 5);
         return env.newGlobalRef(object);
       }},
      {"FindClass", [](ZelJEnv& env) -> void* { return env.findClass("java/lang/Object"); }},
      {"GetMethodID",
       [](ZelJEnv& env) -> void* { return env.getMethodID(ZelJString::s_class, "length", "()I"); }},
      {"GetStaticMethodID",
       [](ZelJEnv& env) -> void* {
         return env.getStaticMethodID(ZelJString::s_class, "valueOf", "(I)Ljava/lang/String;");
       }},
  };
}

TEST_F(ZelJniTest, ANonNullResultIsReturnedWithoutATestForAnException) {
  ZelJEnv env(jni());
  const jobject object = jvm.local(fakejvm::integer(5));

  const auto calls = checkedCallsOf([&] {
    drop(env.newStringUTF("text"));
    drop(env.newByteArray(3));
    jni().DeleteGlobalRef(env.newGlobalRef(object));
    drop(env.findClass("java/lang/Object"));
    env.getMethodID(ZelJString::s_class, "length", "()I");
    env.getStaticMethodID(ZelJString::s_class, "valueOf", "(I)Ljava/lang/String;");
  });

  EXPECT_THAT(calls,
              ElementsAre("NewStringUTF(\"text\")", "DeleteLocalRef(\"text\")", "NewByteArray(3)",
                          "DeleteLocalRef(x'000000')", "NewGlobalRef(5)", "DeleteGlobalRef(5)",
                          "FindClass(java/lang/Object)", "DeleteLocalRef(class java/lang/Object)",
                          "GetMethodID(java/lang/String.length()I)",
                          "GetStaticMethodID(java/lang/String.valueOf(I)Ljava/lang/String;)"));
  drop(object);
}

TEST_F(ZelJniTest, ANullResultWithAnExceptionThrows) {
  ZelJEnv env(jni());
  for (const Nullable& operation : nullableOperations()) {
    jvm.raising = {{operation.name, Raise{}}};
    EXPECT_TRUE(throws([&] { operation.call(env); })) << operation.name;
  }
}

TEST_F(ZelJniTest, ANullResultWithoutAnExceptionIsReturned) {
  ZelJEnv env(jni());
  for (const Nullable& operation : nullableOperations()) {
    jvm.nullResults = {operation.name};
    EXPECT_THAT(messagesOf([&] { EXPECT_EQ(operation.call(env), nullptr) << operation.name; }),
                IsEmpty());
  }
}

TEST_F(ZelJniTest, OperationsWithoutANullResultAreTestedAfterEveryCall) {
  ZelJEnv env(jni());
  jobject array = jvm.local(fakejvm::bytes("abc"));
  signed char data[] = {'x', 'y'};

  const auto calls = checkedCallsOf([&] {
    env.setByteArrayRegion(static_cast<jbyteArray>(array), 2, data);
    EXPECT_TRUE(env.isInstanceOf(array, ZelJByteArray::s_class));
    EXPECT_FALSE(env.isInstanceOf(array, ZelJString::s_class));
  });

  EXPECT_THAT(calls,
              ElementsAre("SetByteArrayRegion(0, 2)", "ExceptionOccurred()",
                          "IsInstanceOf(x'787963', [B)", "ExceptionOccurred()",
                          "IsInstanceOf(x'787963', java/lang/String)", "ExceptionOccurred()"));
  jvm.raising["SetByteArrayRegion"] = Raise{};
  EXPECT_TRUE(throws([&] { env.setByteArrayRegion(static_cast<jbyteArray>(array), 2, data); }));
  jvm.raising["IsInstanceOf"] = Raise{};
  EXPECT_TRUE(throws([&] { env.isInstanceOf(array, ZelJByteArray::s_class); }));
  drop(array);
}

TEST_F(ZelJniTest, AStaticCallIsTestedForAnException) {
  ZelJEnv env(jni());
  jclass type = env.findClass("Application");
  jmethodID method = env.getStaticMethodID(type, "init", "()LServer;");

  EXPECT_THAT(checkedCallsOf([&] { drop(env.callStaticObjectMethod(type, method)); }),
              ElementsAre("CallStaticObjectMethod(Application.init)", "ExceptionOccurred()",
                          testing::StartsWith("DeleteLocalRef(")));
  jvm.raising["Application.init"] = Raise{};
  EXPECT_TRUE(throws([&] { env.callStaticObjectMethod(type, method); }));
  drop(type);
}

TEST_F(ZelJniTest, ByteArraysAreCreatedWithTheirContent) {
  ZelJEnv env(jni());
  signed char data[] = {'a', 0, 'b'};
  unsigned char unsignedData[] = {0xFF, 0x80};

  EXPECT_EQ(take(env.createByteArray(data, 3)), "x'610062'");
  EXPECT_EQ(take(env.createByteArray(unsignedData, 2)), "x'ff80'");
  EXPECT_EQ(take(env.createByteArray(data, 0)), "x''");
}

TEST_F(ZelJniTest, StringsAreMadeFromUnsignedCharactersToo) {
  ZelJEnv env(jni());
  const unsigned char text[] = {'a', 'b', 0};

  EXPECT_EQ(take(env.newStringUTF(text)), "\"ab\"");
}

TEST_F(ZelJniTest, DeletingNullIsSkipped) {
  EXPECT_THAT(callsOf([&] { ZelJEnv(jni()).deleteLocalRef(nullptr); }), IsEmpty());
}

TEST_F(ZelJniTest, AClassIsTakenAsAGlobalReferenceOnly) {
  ZelJEnv env(jni());
  jclass type = nullptr;

  EXPECT_THAT(callsOf([&] { type = env.getGlobalClassRef("java/lang/Object"); }),
              ElementsAre("FindClass(java/lang/Object)", "NewGlobalRef(class java/lang/Object)",
                          "DeleteLocalRef(class java/lang/Object)"));
  jni().DeleteGlobalRef(type);
}

TEST_F(ZelJniTest, ItsUnitIsTracedUnderItsOwnName) {
  framework.setMask("ZELJNI", kRas1Flow);
  ZelJEnv env(jni());

  jclass type = env.getGlobalClassRef("java/lang/Object");

  EXPECT_THAT(fake::flowOf("ZELJNI"),
              ElementsAre("getGlobalClassRef entry", fake::exitOf("getGlobalClassRef", type)));
  jni().DeleteGlobalRef(type);
}

TEST_F(ZelJniTest, ARefusedRegistrationThrowsOnlyWithAnException) {
  ZelJEnv env(jni());
  char name[] = "run";
  char signature[] = "()V";
  JNINativeMethod methods[] = {{name, signature, nullptr}};

  EXPECT_THAT(
      checkedCallsOf([&] { EXPECT_EQ(env.registerNatives(ZelJString::s_class, methods, 1), 0); }),
      ElementsAre("RegisterNatives(java/lang/String, run()V)"));
  jvm.registerResult = JNI_ERR;
  EXPECT_THAT(
      messagesOf([&] { EXPECT_EQ(env.registerNatives(ZelJString::s_class, methods, 1), 0); }),
      IsEmpty());
  jvm.raising["RegisterNatives"] = Raise{};
  EXPECT_TRUE(throws([&] { env.registerNatives(ZelJString::s_class, methods, 1); }));
}

}  // namespace
