#pragma once

#include <cstdarg>

#include "support/fake_jvm/fake_jvm.h"

namespace fakejvm {

/// What a Java method gives: one of the two, as its signature says.
struct Result {
  long long number = 0;
  ObjectPtr object;
};

/// Calls a method of the fake's Java library.
Result call(JNIEnv* env, const Jvm::Method& method, const ObjectPtr& self, std::va_list args);

/// Creates an object.
ObjectPtr construct(const Jvm::Method& ctor, std::va_list args);

}  // namespace fakejvm
