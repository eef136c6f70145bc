#include "bridge/jni/zeljnivisitor.h"

#include <cstring>

#include "zelthread.h"

void ZelJniDataVisitor::visitInt(const TZelPrimitive<int>& value) {
  result = ZelJInteger(*env, value.getValue()).detach();
}

void ZelJniDataVisitor::visitLong(const TZelPrimitive<long long>& value) {
  result = ZelJLong(*env, value.getValue()).detach();
}

void ZelJniDataVisitor::visitBool(const TZelPrimitive<bool>& value) {
  const unsigned char flag = value.getValue() ? JNI_TRUE : JNI_FALSE;
  result = ZelJBoolean(*env, flag).detach();
}

void ZelJniDataVisitor::visitString(const TZelPrimitive<std::string>& value) {
  result = newStringUTF(value.getValue().c_str());
}

void ZelJniDataVisitor::visitByteArray(const ZelByteArray& value) {
  const std::string& bytes = value.getValue();
  const auto size = static_cast<unsigned int>(bytes.size());
  ZelArray<signed char> copy(size);
  std::memcpy(copy, bytes.data(), size);
  result = createByteArray(static_cast<signed char*>(copy), static_cast<int>(size));
}

void ZelJniDataVisitor::visitList(const ZelList& value) {
  ZelJArrayList list(*env);
  for (const ZelData* item : value.items) {
    list.add(convert(item));
  }
  result = list.detach();
}

void ZelJniDataVisitor::visitMap(const ZelMap& value) {
  ZelJHashMap map(*env);
  for (const auto& [key, child] : value.entries) {
    jobject javaChild = convert(child);
    const ZelJInteger javaKey(*env, key);
    map.put(javaKey, javaChild);
  }
  result = map.detach();
}

// A null child goes out as null.
jobject ZelJniDataVisitor::convert(const ZelData* child) const {
  ZelJniDataVisitor visitor(*env);
  if (child != nullptr) {
    child->accept(visitor);
  }
  return visitor.getResult();
}
