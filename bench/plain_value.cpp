#include "plain_value.h"

#include <stdexcept>
#include <utility>

namespace plain {
namespace {

void confirm(JNIEnv& env, jobject object, jclass type) {
  const bool fits = env.IsInstanceOf(object, type);
  check(env);
  if (!fits) {
    throw std::runtime_error("an object of another class");
  }
}

Value toInteger(JNIEnv& env, const JavaTypes& java, jobject object) {
  confirm(env, object, java.integer);
  const jint value = env.CallIntMethod(object, java.intValue);
  check(env);
  return {value};
}

Value toString(JNIEnv& env, const JavaTypes& java, jobject object) {
  confirm(env, object, java.string);
  const char* characters = env.GetStringUTFChars(static_cast<jstring>(object), nullptr);
  Value value{std::string(characters)};
  env.ReleaseStringUTFChars(static_cast<jstring>(object), characters);
  return value;
}

Value toBytes(JNIEnv& env, const JavaTypes& java, jobject object) {
  confirm(env, object, java.bytes);
  const auto array = static_cast<jbyteArray>(object);
  const auto size = static_cast<std::size_t>(env.GetArrayLength(array));
  jbyte* elements = env.GetByteArrayElements(array, nullptr);
  Value value{Bytes{std::string(reinterpret_cast<const char*>(elements), size)}};
  env.ReleaseByteArrayElements(array, elements, JNI_ABORT);
  return value;
}

Value toList(JNIEnv& env, const JavaTypes& java, jobject object) {
  confirm(env, object, java.list);
  const jint size = env.CallIntMethod(object, java.listSize);
  check(env);
  List list;
  list.reserve(static_cast<std::size_t>(size));
  for (jint i = 0; i < size; ++i) {
    jobject element = env.CallObjectMethod(object, java.listGet, i);
    check(env);
    list.push_back(toValue(env, java, element));
  }
  return {std::move(list)};
}

Value toMap(JNIEnv& env, const JavaTypes& java, jobject object) {
  confirm(env, object, java.map);
  jobject iterator = env.CallObjectMethod(object, java.newEntryIterator);
  check(env);
  confirm(env, iterator, java.iterator);
  Map map;
  for (;;) {
    const bool more = env.CallBooleanMethod(iterator, java.hasNext);
    check(env);
    if (!more) {
      break;
    }
    jobject entry = env.CallObjectMethod(iterator, java.next);
    check(env);
    confirm(env, entry, java.entry);
    jobject key = env.CallObjectMethod(entry, java.getKey);
    check(env);
    const int number = std::get<int>(toValue(env, java, key).content);
    jobject value = env.CallObjectMethod(entry, java.getValue);
    check(env);
    map.emplace(number, toValue(env, java, value));
    env.DeleteLocalRef(entry);
  }
  env.DeleteLocalRef(iterator);
  return {std::move(map)};
}

Value toLong(JNIEnv& env, const JavaTypes& java, jobject object) {
  confirm(env, object, java.longType);
  const jlong value = env.CallLongMethod(object, java.longValue);
  check(env);
  return {static_cast<long long>(value)};
}

Value toBoolean(JNIEnv& env, const JavaTypes& java, jobject object) {
  confirm(env, object, java.boolean);
  const bool value = env.CallBooleanMethod(object, java.booleanValue);
  check(env);
  return {value};
}

Value convert(JNIEnv& env, const JavaTypes& java, jobject object) {
  if (env.IsInstanceOf(object, java.integer)) {
    return toInteger(env, java, object);
  }
  if (env.IsInstanceOf(object, java.string)) {
    return toString(env, java, object);
  }
  if (env.IsInstanceOf(object, java.bytes)) {
    return toBytes(env, java, object);
  }
  if (env.IsInstanceOf(object, java.list)) {
    return toList(env, java, object);
  }
  if (env.IsInstanceOf(object, java.map)) {
    return toMap(env, java, object);
  }
  if (env.IsInstanceOf(object, java.longType)) {
    return toLong(env, java, object);
  }
  if (env.IsInstanceOf(object, java.boolean)) {
    return toBoolean(env, java, object);
  }
  throw std::runtime_error("an object of an unknown class");
}

}  // namespace

JavaTypes::JavaTypes(JNIEnv& env)
    : integer(findClass(env, "java/lang/Integer")),
      string(findClass(env, "java/lang/String")),
      bytes(findClass(env, "[B")),
      list(findClass(env, "java/util/ArrayList")),
      map(findClass(env, "java/util/HashMap")),
      longType(findClass(env, "java/lang/Long")),
      boolean(findClass(env, "java/lang/Boolean")),
      iterator(findClass(env, "java/util/Iterator")),
      entry(findClass(env, "java/util/Map$Entry")),
      newInteger(findMethod(env, integer, "<init>", "(I)V")),
      intValue(findMethod(env, integer, "intValue", "()I")),
      newLong(findMethod(env, longType, "<init>", "(J)V")),
      longValue(findMethod(env, longType, "longValue", "()J")),
      newBoolean(findMethod(env, boolean, "<init>", "(Z)V")),
      booleanValue(findMethod(env, boolean, "booleanValue", "()Z")),
      newList(findMethod(env, list, "<init>", "()V")),
      listGet(findMethod(env, list, "get", "(I)Ljava/lang/Object;")),
      listSize(findMethod(env, list, "size", "()I")),
      newMap(findMethod(env, map, "<init>", "()V")),
      mapPut(
          findMethod(env, map, "put", "(Ljava/lang/Object;Ljava/lang/Object;)Ljava/lang/Object;")),
      newEntryIterator(findMethod(env, map, "newEntryIterator", "()Ljava/util/Iterator;")),
      hasNext(findMethod(env, iterator, "hasNext", "()Z")),
      next(findMethod(env, iterator, "next", "()Ljava/lang/Object;")),
      getKey(findMethod(env, entry, "getKey", "()Ljava/lang/Object;")),
      getValue(findMethod(env, entry, "getValue", "()Ljava/lang/Object;")) {}

jclass findClass(JNIEnv& env, const char* name) {
  jclass local = env.FindClass(name);
  check(env);
  auto* global = static_cast<jclass>(env.NewGlobalRef(local));
  env.DeleteLocalRef(local);
  return global;
}

jmethodID findMethod(JNIEnv& env, jclass type, const char* name, const char* signature) {
  jmethodID method = env.GetMethodID(type, name, signature);
  check(env);
  return method;
}

void check(JNIEnv& env) {
  if (env.ExceptionCheck()) {
    env.ExceptionDescribe();
    env.ExceptionClear();
    throw std::runtime_error("a Java exception");
  }
}

Value toValue(JNIEnv& env, const JavaTypes& java, jobject object) {
  if (object == nullptr) {
    throw std::runtime_error("a null object");
  }
  Value value = convert(env, java, object);
  env.DeleteLocalRef(object);
  return value;
}

}  // namespace plain
