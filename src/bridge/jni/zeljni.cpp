#include "bridge/jni/zeljni.h"

#include <cstdarg>

#include "agentfw/ras1.h"
#include "bridge/jni/zeljvm.h"
#include "bridge/zelexc.h"

RAS1_UNIT("ZELJNI");

jstring ZelJEnv::newStringUTF(const char* text) {
  jstring result = env->NewStringUTF(text);
  if (result == nullptr && ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

jstring ZelJEnv::newStringUTF(const unsigned char* text) {
  return newStringUTF(reinterpret_cast<const char*>(text));
}

jbyteArray ZelJEnv::newByteArray(int length) {
  jbyteArray result = env->NewByteArray(length);
  if (result == nullptr && ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

void ZelJEnv::setByteArrayRegion(jbyteArray array, int length, signed char* data) {
  env->SetByteArrayRegion(array, 0, length, data);
  if (ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
}

jbyteArray ZelJEnv::createByteArray(signed char* data, int length) {
  jbyteArray result = newByteArray(length);
  setByteArrayRegion(result, length, data);
  return result;
}

jbyteArray ZelJEnv::createByteArray(unsigned char* data, int length) {
  return createByteArray(reinterpret_cast<signed char*>(data), length);
}

jobject ZelJEnv::newGlobalRef(jobject object) {
  jobject result = env->NewGlobalRef(object);
  if (result == nullptr && ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

jclass ZelJEnv::findClass(const char* name) {
  jclass result = env->FindClass(name);
  if (result == nullptr && ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

bool ZelJEnv::isInstanceOf(jobject object, jclass type) {
  const bool result = env->IsInstanceOf(object, type) != JNI_FALSE;
  if (ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

jmethodID ZelJEnv::getMethodID(jclass type, const char* name, const char* signature) {
  jmethodID result = env->GetMethodID(type, name, signature);
  if (result == nullptr && ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

jmethodID ZelJEnv::getStaticMethodID(jclass type, const char* name, const char* signature) {
  jmethodID result = env->GetStaticMethodID(type, name, signature);
  if (result == nullptr && ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

jobject ZelJEnv::callStaticObjectMethod(jclass type, jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  jobject result = env->CallStaticObjectMethodV(type, method, args);
  va_end(args);
  if (ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

void ZelJEnv::deleteLocalRef(jobject object) {
  if (object != nullptr) {
    env->DeleteLocalRef(object);
  }
}

jclass ZelJEnv::getGlobalClassRef(const char* name) {
  RAS1_FLOW();
  jclass local = findClass(name);
  auto* global = static_cast<jclass>(newGlobalRef(local));
  deleteLocalRef(local);
  return ras1Flow.result(global);
}

int ZelJEnv::registerNatives(jclass type, JNINativeMethod* methods, unsigned int count) {
  RAS1_FLOW();
  if (env->RegisterNatives(type, methods, static_cast<jint>(count)) != 0 &&
      ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return ras1Flow.result(0);
}

ZelJObject::ZelJObject(JNIEnv& threadEnv, jclass type, jobject object)
    : ZelJEnv(threadEnv), m_handle(object) {
  if (object != nullptr && !isInstanceOf(object, type)) {
    ZEL_THROW();
  }
}

ZelJObject::ZelJObject(JNIEnv& threadEnv, jclass type, jmethodID ctor, ...) : ZelJEnv(threadEnv) {
  std::va_list args;
  va_start(args, ctor);
  m_handle = env->NewObjectV(type, ctor, args);
  va_end(args);
  if (m_handle == nullptr && ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
}

ZelJObject::~ZelJObject() {
  if (ownsLocal) {
    deleteLocalRef(m_handle);
  }
}

jobject ZelJObject::detach() {
  ownsLocal = false;
  return m_handle;
}

int ZelJObject::callIntMethod(jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  const jint result = env->CallIntMethodV(m_handle, method, args);
  va_end(args);
  if (ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

long long ZelJObject::callLongMethod(jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  const jlong result = env->CallLongMethodV(m_handle, method, args);
  va_end(args);
  if (ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

void ZelJObject::callVoidMethod(jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  env->CallVoidMethodV(m_handle, method, args);
  va_end(args);
  if (ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
}

jobject ZelJObject::callObjectMethod(jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  jobject result = env->CallObjectMethodV(m_handle, method, args);
  va_end(args);
  if (ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}

unsigned char ZelJObject::callBooleanMethod(jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  const jboolean result = env->CallBooleanMethodV(m_handle, method, args);
  va_end(args);
  if (ZelJvm::hasException(*env)) {
    ZEL_THROW();
  }
  return result;
}
