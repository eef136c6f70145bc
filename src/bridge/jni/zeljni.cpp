#include "bridge/jni/zeljni.h"

#include <cstdarg>

#include "agentfw/ras1.h"
#include "bridge/jni/zeljvm.h"
#include "bridge/zelexc.h"

RAS1_UNIT("ZELJNI");

namespace {

// Throws when the call before has left a Java exception, which is reported and cleared. The line is
// the caller's. (Clang 14 can't read std::source_location of this standard library.)
void throwPending(JNIEnv& env, unsigned int line = __builtin_LINE()) {
  if (ZelJvm::hasException(env)) {
    throw ZelException(__FILE_NAME__, line, 1);
  }
}

// For calls that answer null when they fail; one may answer null without an exception too.
template <typename Reference>
Reference orThrow(JNIEnv& env, Reference result, unsigned int line = __builtin_LINE()) {
  if (result == nullptr) {
    throwPending(env, line);
  }
  return result;
}

}  // namespace

jstring ZelJEnv::newStringUTF(const char* text) { return orThrow(*env, env->NewStringUTF(text)); }

jstring ZelJEnv::newStringUTF(const unsigned char* text) {
  return newStringUTF(reinterpret_cast<const char*>(text));
}

jbyteArray ZelJEnv::newByteArray(int length) { return orThrow(*env, env->NewByteArray(length)); }

void ZelJEnv::setByteArrayRegion(jbyteArray array, int length, signed char* data) {
  env->SetByteArrayRegion(array, 0, length, data);
  throwPending(*env);
}

jbyteArray ZelJEnv::createByteArray(signed char* data, int length) {
  jbyteArray result = newByteArray(length);
  setByteArrayRegion(result, length, data);
  return result;
}

jbyteArray ZelJEnv::createByteArray(unsigned char* data, int length) {
  return createByteArray(reinterpret_cast<signed char*>(data), length);
}

jobject ZelJEnv::newGlobalRef(jobject object) { return orThrow(*env, env->NewGlobalRef(object)); }

jclass ZelJEnv::findClass(const char* name) { return orThrow(*env, env->FindClass(name)); }

bool ZelJEnv::isInstanceOf(jobject object, jclass type) {
  const bool result = env->IsInstanceOf(object, type) != JNI_FALSE;
  throwPending(*env);
  return result;
}

jmethodID ZelJEnv::getMethodID(jclass type, const char* name, const char* signature) {
  return orThrow(*env, env->GetMethodID(type, name, signature));
}

jmethodID ZelJEnv::getStaticMethodID(jclass type, const char* name, const char* signature) {
  return orThrow(*env, env->GetStaticMethodID(type, name, signature));
}

jobject ZelJEnv::callStaticObjectMethod(jclass type, jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  jobject result = env->CallStaticObjectMethodV(type, method, args);
  va_end(args);
  throwPending(*env);
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
  if (env->RegisterNatives(type, methods, static_cast<jint>(count)) != 0) {
    throwPending(*env);
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
  orThrow(*env, m_handle);
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
  throwPending(*env);
  return result;
}

long long ZelJObject::callLongMethod(jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  const jlong result = env->CallLongMethodV(m_handle, method, args);
  va_end(args);
  throwPending(*env);
  return result;
}

void ZelJObject::callVoidMethod(jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  env->CallVoidMethodV(m_handle, method, args);
  va_end(args);
  throwPending(*env);
}

jobject ZelJObject::callObjectMethod(jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  jobject result = env->CallObjectMethodV(m_handle, method, args);
  va_end(args);
  throwPending(*env);
  return result;
}

unsigned char ZelJObject::callBooleanMethod(jmethodID method, ...) {
  std::va_list args;
  va_start(args, method);
  const jboolean result = env->CallBooleanMethodV(m_handle, method, args);
  va_end(args);
  throwPending(*env);
  return result;
}
