// The JNI function table. A function that the library under test has no business calling ends the
// test program.

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/fake_jvm/fake_methods.h"

namespace fakejvm {

namespace {

Jvm& jvm() { return Jvm::get(); }

[[noreturn]] void unexpected() {
  std::fputs("the fake JVM has no such JNI function\n", stderr);
  std::abort();
}

const Jvm::Method& methodOf(jmethodID id) { return *reinterpret_cast<const Jvm::Method*>(id); }

// Describing costs the most of a call.
std::string shown(const ObjectPtr& object) {
  return jvm().isRecording ? describe(object) : std::string();
}

std::string className(jclass type) { return jvm().resolve(type)->text; }

jobject give(const ObjectPtr& object) { return jvm().reference(object, false); }

jclass findClass(JNIEnv* env, const char* name) {
  jvm().enter(env, "FindClass");
  jvm().record(std::string("FindClass(") + name + ")");
  if (jvm().missingClasses.count(name) != 0) {
    jvm().raise("java/lang/NoClassDefFoundError", name);
    return nullptr;
  }
  if (jvm().isRaising("FindClass") || jvm().givesNull("FindClass")) {
    return nullptr;
  }
  return static_cast<jclass>(give(jvm().internClass(name)));
}

jmethodID findMethod(JNIEnv* env, const char* operation, jclass type, const char* name,
                     const char* signature) {
  jvm().enter(env, operation);
  const Jvm::Method method{className(type), name, signature};
  jvm().record(std::string(operation) + "(" + method.id() + signature + ")");
  if (jvm().missingMethods.count(method.id()) != 0) {
    jvm().raise("java/lang/NoSuchMethodError", name);
    return nullptr;
  }
  if (jvm().isRaising(operation) || jvm().givesNull(operation)) {
    return nullptr;
  }
  return reinterpret_cast<jmethodID>(const_cast<Jvm::Method*>(jvm().internMethod(method)));
}

jmethodID getMethodId(JNIEnv* env, jclass type, const char* name, const char* signature) {
  return findMethod(env, "GetMethodID", type, name, signature);
}

jmethodID getStaticMethodId(JNIEnv* env, jclass type, const char* name, const char* signature) {
  return findMethod(env, "GetStaticMethodID", type, name, signature);
}

jobject newGlobalRef(JNIEnv* env, jobject object) {
  jvm().enter(env, "NewGlobalRef");
  const ObjectPtr target = jvm().resolve(object);
  jvm().record("NewGlobalRef(" + shown(target) + ")");
  if (jvm().isRaising("NewGlobalRef") || jvm().givesNull("NewGlobalRef")) {
    return nullptr;
  }
  return jvm().reference(target, true);
}

void deleteGlobalRef(JNIEnv* env, jobject object) {
  jvm().enter(env, "DeleteGlobalRef", true);
  jvm().record("DeleteGlobalRef(" + shown(jvm().resolve(object)) + ")");
  jvm().drop(object, true);
}

void deleteLocalRef(JNIEnv* env, jobject object) {
  jvm().enter(env, "DeleteLocalRef", true);
  jvm().record("DeleteLocalRef(" + shown(jvm().resolve(object)) + ")");
  jvm().drop(object, false);
}

jclass getObjectClass(JNIEnv* env, jobject object) {
  jvm().enter(env, "GetObjectClass");
  const ObjectPtr target = jvm().resolve(object);
  jvm().record("GetObjectClass(" + shown(target) + ")");
  if (jvm().givesNull("GetObjectClass")) {
    return nullptr;
  }
  return static_cast<jclass>(give(jvm().internClass(target->className)));
}

jboolean isInstanceOf(JNIEnv* env, jobject object, jclass type) {
  jvm().enter(env, "IsInstanceOf");
  const ObjectPtr target = jvm().resolve(object);
  jvm().record("IsInstanceOf(" + shown(target) + ", " + className(type) + ")");
  if (jvm().isRaising("IsInstanceOf")) {
    return JNI_FALSE;
  }
  return target == nullptr || isInstance(*target, className(type)) ? JNI_TRUE : JNI_FALSE;
}

jobject newObject(JNIEnv* env, jclass type, jmethodID ctor, std::va_list args) {
  jvm().enter(env, "NewObject");
  const ObjectPtr object = construct(methodOf(ctor), args);
  jvm().record("NewObject(" + className(type) + ", " + shown(object) + ")");
  if (jvm().isRaising("NewObject") || jvm().givesNull("NewObject")) {
    return nullptr;
  }
  return give(object);
}

Result invoke(JNIEnv* env, const char* operation, jobject self, jmethodID id, std::va_list args) {
  jvm().enter(env, operation);
  const Jvm::Method& method = methodOf(id);
  const ObjectPtr target = jvm().resolve(self);
  jvm().record(std::string(operation) + "(" + shown(target) + ", " + method.id() + ")");
  if (target == nullptr) {
    jvm().fault(method.id() + " was called on null");
    return {};
  }
  if (jvm().isRaising(method.id()) || jvm().givesNull(method.id())) {
    return {};
  }
  return call(env, method, target, args);
}

jobject callObject(JNIEnv* env, jobject self, jmethodID id, std::va_list args) {
  return give(invoke(env, "CallObjectMethod", self, id, args).object);
}

jboolean callBoolean(JNIEnv* env, jobject self, jmethodID id, std::va_list args) {
  return static_cast<jboolean>(invoke(env, "CallBooleanMethod", self, id, args).number);
}

jint callInt(JNIEnv* env, jobject self, jmethodID id, std::va_list args) {
  return static_cast<jint>(invoke(env, "CallIntMethod", self, id, args).number);
}

jlong callLong(JNIEnv* env, jobject self, jmethodID id, std::va_list args) {
  return invoke(env, "CallLongMethod", self, id, args).number;
}

void callVoid(JNIEnv* env, jobject self, jmethodID id, std::va_list args) {
  invoke(env, "CallVoidMethod", self, id, args);
}

jobject callStaticObject(JNIEnv* env, jclass type, jmethodID id, std::va_list /*args*/) {
  jvm().enter(env, "CallStaticObjectMethod");
  const Jvm::Method& method = methodOf(id);
  jvm().record("CallStaticObjectMethod(" + className(type) + "." + method.name + ")");
  return jvm().isRaising(method.id()) ? nullptr : give(jvm().server);
}

jthrowable exceptionOccurred(JNIEnv* env) {
  jvm().enter(env, "ExceptionOccurred", true);
  jvm().record("ExceptionOccurred()");
  return static_cast<jthrowable>(give(jvm().pending()));
}

// As in real JVMs, describing an exception clears it.
void exceptionDescribe(JNIEnv* env) {
  jvm().enter(env, "ExceptionDescribe", true);
  jvm().record("ExceptionDescribe()");
  jvm().raise("", "");
}

void exceptionClear(JNIEnv* env) {
  jvm().enter(env, "ExceptionClear", true);
  jvm().record("ExceptionClear()");
  jvm().raise("", "");
}

jstring newString(JNIEnv* env, const char* text) {
  jvm().enter(env, "NewStringUTF");
  jvm().record(std::string("NewStringUTF(\"") + text + "\")");
  if (jvm().isRaising("NewStringUTF") || jvm().givesNull("NewStringUTF")) {
    return nullptr;
  }
  return static_cast<jstring>(give(string(text)));
}

jsize getStringLength(JNIEnv* env, jstring text) {
  jvm().enter(env, "GetStringUTFLength");
  const ObjectPtr target = jvm().resolve(text);
  jvm().record("GetStringUTFLength(" + shown(target) + ")");
  return static_cast<jsize>(target->text.size());
}

const char* getStringChars(JNIEnv* env, jstring text, jboolean* isCopy) {
  jvm().enter(env, "GetStringUTFChars");
  const ObjectPtr target = jvm().resolve(text);
  jvm().record("GetStringUTFChars(" + shown(target) + (isCopy == nullptr ? ")" : ", copy)"));
  if (jvm().isRaising("GetStringUTFChars") || jvm().givesNull("GetStringUTFChars")) {
    return nullptr;
  }
  const char* characters = strdup(target->text.c_str());
  jvm().hold(characters);
  return characters;
}

void releaseStringChars(JNIEnv* env, jstring text, const char* characters) {
  jvm().enter(env, "ReleaseStringUTFChars", true);
  jvm().record("ReleaseStringUTFChars(" + shown(jvm().resolve(text)) + ")");
  jvm().letGo(characters);
  std::free(const_cast<char*>(characters));
}

jsize getArrayLength(JNIEnv* env, jarray array) {
  jvm().enter(env, "GetArrayLength");
  const ObjectPtr target = jvm().resolve(array);
  jvm().record("GetArrayLength(" + shown(target) + ")");
  return static_cast<jsize>(target->text.size());
}

jbyteArray newByteArray(JNIEnv* env, jsize length) {
  jvm().enter(env, "NewByteArray");
  jvm().record("NewByteArray(" + std::to_string(length) + ")");
  if (jvm().isRaising("NewByteArray") || jvm().givesNull("NewByteArray")) {
    return nullptr;
  }
  return static_cast<jbyteArray>(give(bytes(std::string(static_cast<std::size_t>(length), '\0'))));
}

void setByteArrayRegion(JNIEnv* env, jbyteArray array, jsize start, jsize length,
                        const jbyte* data) {
  jvm().enter(env, "SetByteArrayRegion");
  const ObjectPtr target = jvm().resolve(array);
  jvm().record("SetByteArrayRegion(" + std::to_string(start) + ", " + std::to_string(length) + ")");
  if (!jvm().isRaising("SetByteArrayRegion")) {
    target->text.replace(static_cast<std::size_t>(start), static_cast<std::size_t>(length),
                         reinterpret_cast<const char*>(data), static_cast<std::size_t>(length));
  }
}

jbyte* getByteArrayElements(JNIEnv* env, jbyteArray array, jboolean* isCopy) {
  jvm().enter(env, "GetByteArrayElements");
  const ObjectPtr target = jvm().resolve(array);
  jvm().record("GetByteArrayElements(" + shown(target) + (isCopy == nullptr ? ")" : ", copy)"));
  if (jvm().isRaising("GetByteArrayElements") || jvm().givesNull("GetByteArrayElements")) {
    return nullptr;
  }
  auto* elements = static_cast<jbyte*>(std::malloc(target->text.size() + 1));
  std::memcpy(elements, target->text.data(), target->text.size());
  jvm().hold(elements);
  return elements;
}

void releaseByteArrayElements(JNIEnv* env, jbyteArray array, jbyte* elements, jint mode) {
  jvm().enter(env, "ReleaseByteArrayElements", true);
  jvm().record("ReleaseByteArrayElements(" + shown(jvm().resolve(array)) + ", mode " +
               std::to_string(mode) + ")");
  jvm().letGo(elements);
  std::free(elements);
}

jint registerNatives(JNIEnv* env, jclass type, const JNINativeMethod* methods, jint count) {
  jvm().enter(env, "RegisterNatives");
  std::string text = "RegisterNatives(" + className(type);
  for (jint i = 0; i < count; ++i) {
    text += std::string(", ") + methods[i].name + methods[i].signature;
    jvm().addNative({className(type), methods[i].name, methods[i].signature, methods[i].fnPtr});
  }
  jvm().record(text + ")");
  return jvm().isRaising("RegisterNatives") ? JNI_ERR : jvm().registerResult;
}

JNINativeInterface_ makeTable() {
  JNINativeInterface_ table;
  auto* slots = reinterpret_cast<void**>(&table);
  for (std::size_t i = 0; i < sizeof(table) / sizeof(void*); ++i) {
    slots[i] = reinterpret_cast<void*>(&unexpected);
  }
  table.FindClass = findClass;
  table.GetMethodID = getMethodId;
  table.GetStaticMethodID = getStaticMethodId;
  table.NewGlobalRef = newGlobalRef;
  table.DeleteGlobalRef = deleteGlobalRef;
  table.DeleteLocalRef = deleteLocalRef;
  table.GetObjectClass = getObjectClass;
  table.IsInstanceOf = isInstanceOf;
  table.NewObjectV = newObject;
  table.CallObjectMethodV = callObject;
  table.CallBooleanMethodV = callBoolean;
  table.CallIntMethodV = callInt;
  table.CallLongMethodV = callLong;
  table.CallVoidMethodV = callVoid;
  table.CallStaticObjectMethodV = callStaticObject;
  table.ExceptionOccurred = exceptionOccurred;
  table.ExceptionDescribe = exceptionDescribe;
  table.ExceptionClear = exceptionClear;
  table.NewStringUTF = newString;
  table.GetStringUTFLength = getStringLength;
  table.GetStringUTFChars = getStringChars;
  table.ReleaseStringUTFChars = releaseStringChars;
  table.GetArrayLength = getArrayLength;
  table.NewByteArray = newByteArray;
  table.SetByteArrayRegion = setByteArrayRegion;
  table.GetByteArrayElements = getByteArrayElements;
  table.ReleaseByteArrayElements = releaseByteArrayElements;
  table.RegisterNatives = registerNatives;
  return table;
}

}  // namespace

const JNINativeInterface_* functions() {
  static const JNINativeInterface_& table = *new JNINativeInterface_(makeTable());
  return &table;
}

}  // namespace fakejvm
