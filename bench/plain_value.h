#pragma once

#include <jni.h>

#include <map>
#include <string>
#include <variant>
#include <vector>

/// @file
/// A message as a plain value, and the least that turns a Java object into one.

namespace plain {

struct Value;
using List = std::vector<Value>;
using Map = std::map<int, Value>;

struct Bytes {
  std::string bytes;
};

struct Value {
  std::variant<std::monostate, int, long long, bool, std::string, Bytes, List, Map> content;
};

/// The classes and methods of the Java library that an exchange calls. Global references that are
/// never given back.
struct JavaTypes {
  explicit JavaTypes(JNIEnv& env);

  jclass integer, string, bytes, list, map, longType, boolean, iterator, entry;
  jmethodID newInteger, intValue, newLong, longValue, newBoolean, booleanValue;
  jmethodID newList, listGet, listSize;
  jmethodID newMap, mapPut, newEntryIterator;
  jmethodID hasNext, next, getKey, getValue;
};

/// A global reference to a class. Throws std::runtime_error when there is none.
jclass findClass(JNIEnv& env, const char* name);
jmethodID findMethod(JNIEnv& env, jclass type, const char* name, const char* signature);

/// Throws std::runtime_error when a Java exception is pending.
void check(JNIEnv& env);

/// Converts an object and deletes the local reference to it. Makes the calls of the library's
/// conversion, one for one: the tests of the type in its order, the second test that its wrappers
/// make, a look at the pending exception after each call that may raise one.
Value toValue(JNIEnv& env, const JavaTypes& java, jobject object);

}  // namespace plain
