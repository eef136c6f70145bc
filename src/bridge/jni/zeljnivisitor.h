#pragma once

#include "bridge/jni/zeljni.h"
#include "bridge/zelcoll.h"

/// Makes the Java form of the value that it visits.
///
/// The local references it makes, all but the map keys, stay with the thread: they end with the
/// enclosing native frame, or with the thread when there is none.
class ZelJniDataVisitor final : public ZelDataVisitor, public ZelJEnv {
 public:
  explicit ZelJniDataVisitor(JNIEnv& threadEnv) : ZelJEnv(threadEnv) {}

  void visitInt(const TZelPrimitive<int>& value) override;
  void visitLong(const TZelPrimitive<long long>& value) override;
  void visitBool(const TZelPrimitive<bool>& value) override;
  void visitString(const TZelPrimitive<std::string>& value) override;
  void visitByteArray(const ZelByteArray& value) override;
  void visitList(const ZelList& value) override;
  void visitMap(const ZelMap& value) override;

  /// What the last visit made; null before the first.
  jobject getResult() const { return result; }

 private:
  jobject convert(const ZelData* child) const;

  jobject result = nullptr;
};
