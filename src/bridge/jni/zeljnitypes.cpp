// The wrappers of the Java library's classes.

#include <algorithm>
#include <cstring>

#include "agentfw/ras1.h"
#include "bridge/jni/zeljni.h"
#include "bridge/jni/zeljvm.h"
#include "bridge/zelexc.h"

RAS1_UNIT("ZELJNI");

jclass ZelJString::s_class = nullptr;
jclass ZelJByteArray::s_class = nullptr;
jclass ZelJInteger::s_class = nullptr;
jmethodID ZelJInteger::s_mCtorIntArg = nullptr;
jmethodID ZelJInteger::s_mIntValue = nullptr;
jclass ZelJLong::s_class = nullptr;
jmethodID ZelJLong::s_mCtorLongArg = nullptr;
jmethodID ZelJLong::s_mLongValue = nullptr;
jclass ZelJBoolean::s_class = nullptr;
jmethodID ZelJBoolean::s_mCtorBoolArg = nullptr;
jmethodID ZelJBoolean::s_mBooleanValue = nullptr;

ZelJString::ZelJString(JNIEnv& threadEnv, jobject object)
    : ZelJObject(threadEnv, s_class, object), string(static_cast<jstring>(object)) {}

ZelJString::~ZelJString() { release(); }

void ZelJString::init(ZelJEnv& env) {
  RAS1_FLOW();
  s_class = env.getGlobalClassRef("java/lang/String");
}

const char* ZelJString::getData() {
  if (characters == nullptr && string != nullptr) {
    characters = env->GetStringUTFChars(string, nullptr);
    if (characters == nullptr && ZelJvm::hasException(*env)) {
      ZEL_THROW();
    }
  }
  return characters;
}

int ZelJString::getLength() {
  if (length == 0 && string != nullptr) {
    length = env->GetStringUTFLength(string);
  }
  return length;
}

void ZelJString::getData(char* dst, unsigned int n) {
  const char* text = getData();
  if (text == nullptr) {
    std::memset(dst, 0, n);
    return;
  }
  std::strncpy(dst, text, n);
}

void ZelJString::release() {
  if (characters != nullptr) {
    env->ReleaseStringUTFChars(string, characters);
    characters = nullptr;
  }
}

ZelJByteArray::ZelJByteArray(JNIEnv& threadEnv, jobject object)
    : ZelJObject(threadEnv, s_class, object), array(static_cast<jbyteArray>(object)) {}

ZelJByteArray::~ZelJByteArray() { release(); }

void ZelJByteArray::init(ZelJEnv& env) {
  RAS1_FLOW();
  s_class = env.getGlobalClassRef("[B");
}

signed char* ZelJByteArray::getData() {
  if (elements == nullptr && array != nullptr) {
    elements = env->GetByteArrayElements(array, nullptr);
    if (elements == nullptr && ZelJvm::hasException(*env)) {
      ZEL_THROW();
    }
  }
  return elements;
}

int ZelJByteArray::getLength() { return array == nullptr ? 0 : env->GetArrayLength(array); }

void ZelJByteArray::getData(void* dst, unsigned int n) {
  std::memset(dst, 0, n);
  const auto available = static_cast<unsigned int>(getLength());
  if (available != 0) {
    std::memcpy(dst, getData(), std::min(available, n));
  }
}

void ZelJByteArray::release() {
  if (elements != nullptr) {
    env->ReleaseByteArrayElements(array, elements, JNI_ABORT);
    elements = nullptr;
  }
}

ZelJInteger::ZelJInteger(JNIEnv& threadEnv, int value)
    : ZelJObject(threadEnv, s_class, s_mCtorIntArg, value) {}

ZelJInteger::ZelJInteger(JNIEnv& threadEnv, jobject object)
    : ZelJObject(threadEnv, s_class, object) {}

void ZelJInteger::init(ZelJEnv& env) {
  RAS1_FLOW();
  if (s_class == nullptr) {
    s_class = env.getGlobalClassRef("java/lang/Integer");
    s_mCtorIntArg = env.getMethodID(s_class, "<init>", "(I)V");
    s_mIntValue = env.getMethodID(s_class, "intValue", "()I");
  }
}

int ZelJInteger::intValue() { return callIntMethod(s_mIntValue); }

ZelJLong::ZelJLong(JNIEnv& threadEnv, long long value)
    : ZelJObject(threadEnv, s_class, s_mCtorLongArg, value) {}

ZelJLong::ZelJLong(JNIEnv& threadEnv, jobject object) : ZelJObject(threadEnv, s_class, object) {}

void ZelJLong::init(ZelJEnv& env) {
  RAS1_FLOW();
  if (s_class == nullptr) {
    s_class = env.getGlobalClassRef("java/lang/Long");
    s_mCtorLongArg = env.getMethodID(s_class, "<init>", "(J)V");
    s_mLongValue = env.getMethodID(s_class, "longValue", "()J");
  }
}

long long ZelJLong::longValue() { return callLongMethod(s_mLongValue); }

ZelJBoolean::ZelJBoolean(JNIEnv& threadEnv, unsigned char value)
    : ZelJObject(threadEnv, s_class, s_mCtorBoolArg, value) {}

ZelJBoolean::ZelJBoolean(JNIEnv& threadEnv, jobject object)
    : ZelJObject(threadEnv, s_class, object) {}

void ZelJBoolean::init(ZelJEnv& env) {
  RAS1_FLOW();
  if (s_class == nullptr) {
    s_class = env.getGlobalClassRef("java/lang/Boolean");
    s_mCtorBoolArg = env.getMethodID(s_class, "<init>", "(Z)V");
    s_mBooleanValue = env.getMethodID(s_class, "booleanValue", "()Z");
  }
}

unsigned char ZelJBoolean::booleanValue() { return callBooleanMethod(s_mBooleanValue); }
