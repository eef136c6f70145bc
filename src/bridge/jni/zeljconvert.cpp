// From Java objects to the value tree.

#include <algorithm>
#include <memory>

#include "agentfw/ras1.h"
#include "bridge/jni/zeljclnt.h"
#include "bridge/zelbuild.h"
#include "bridge/zelexc.h"

RAS1_UNIT("ZELJCLNT");

namespace {

using DataPtr = std::unique_ptr<ZelData>;

// Each wrapper below owns the object that it is given and deletes its local reference, so a long
// or deep message needs only as many references at a time as it has levels.

DataPtr convert(JNIEnv& env, jobject object) {
  return DataPtr(ZelJniClient::javaToNative(env, object));
}

template <typename T>
DataPtr primitive(const T& value) {
  return DataPtr(new TZelPrimitive<T>(value));
}

DataPtr convertString(JNIEnv& env, jobject object) {
  ZelJString text(env, object);
  return primitive<std::string>(text.getData());
}

DataPtr convertBytes(JNIEnv& env, jobject object) {
  ZelJByteArray array(env, object);
  const auto size = static_cast<std::size_t>(array.getLength());
  return std::make_unique<ZelByteArray>(
      std::string(reinterpret_cast<const char*>(array.getData()), size));
}

DataPtr convertList(JNIEnv& env, jobject object) {
  ZelJArrayList list(env, object);
  auto result = std::make_unique<ZelList>();
  const int size = list.size();
  result->items.reserve(static_cast<std::size_t>(std::max(size, 0)));
  for (int i = 0; i < size; ++i) {
    zelAppend(*result, convert(env, list.get(i)));
  }
  return result;
}

DataPtr convertMap(JNIEnv& env, jobject object) {
  ZelJHashMap map(env, object);
  auto result = std::make_unique<ZelMap>();
  ZelJIterator entries = map.newEntryIterator();
  while (entries.hasNext()) {
    ZelJMapEntry entry(env, entries.next());
    const int key = convert(env, entry.getKey())->toInt();
    zelPut(*result, key, convert(env, entry.getValue()));
  }
  return result;
}

DataPtr convertByClass(JNIEnv& env, jobject object) {
  if (env.IsInstanceOf(object, ZelJInteger::s_class)) {
    return primitive<int>(ZelJInteger(env, object).intValue());
  }
  if (env.IsInstanceOf(object, ZelJString::s_class)) {
    return convertString(env, object);
  }
  if (env.IsInstanceOf(object, ZelJByteArray::s_class)) {
    return convertBytes(env, object);
  }
  if (env.IsInstanceOf(object, ZelJArrayList::s_class)) {
    return convertList(env, object);
  }
  if (env.IsInstanceOf(object, ZelJHashMap::s_class)) {
    return convertMap(env, object);
  }
  if (env.IsInstanceOf(object, ZelJLong::s_class)) {
    return primitive<long long>(ZelJLong(env, object).longValue());
  }
  if (env.IsInstanceOf(object, ZelJBoolean::s_class)) {
    return primitive<bool>(ZelJBoolean(env, object).booleanValue() == JNI_TRUE);
  }
  return nullptr;
}

}  // namespace

ZelData* ZelJniClient::javaToNative(JNIEnv& env, jobject object) {
  RAS1_FUNCTION();
  if (object == nullptr) {
    RAS1_PRINT_IF(kRas1Error, "ERROR: got null object");
    ZEL_THROW();
  }
  DataPtr result = convertByClass(env, object);
  if (result == nullptr) {
    env.DeleteLocalRef(object);
    RAS1_PRINT_IF(kRas1Error, "ERROR: unknown object type");
    ZEL_THROW();
  }
  return result.release();
}
