#include "java_property.h"

#include <jni.h>

namespace host {
namespace {

std::optional<std::string> read(JNIEnv& env, const std::string& name) {
  jclass system = env.FindClass("java/lang/System");
  jmethodID getProperty =
      system == nullptr
          ? nullptr
          : env.GetStaticMethodID(system, "getProperty", "(Ljava/lang/String;)Ljava/lang/String;");
  jstring key = getProperty == nullptr ? nullptr : env.NewStringUTF(name.c_str());
  if (key == nullptr) {
    return std::nullopt;
  }
  auto* value = static_cast<jstring>(env.CallStaticObjectMethod(system, getProperty, key));
  const char* text =
      env.ExceptionCheck() || value == nullptr ? nullptr : env.GetStringUTFChars(value, nullptr);
  if (text == nullptr) {
    return std::nullopt;
  }
  std::string result(text);
  env.ReleaseStringUTFChars(value, text);
  return result;
}

}  // namespace

std::optional<std::string> javaProperty(JavaVM_& vm, const std::string& name) {
  char thread[] = "zel-property";
  JavaVMAttachArgs arguments{JNI_VERSION_1_6, thread, nullptr};
  JNIEnv* env = nullptr;
  if (vm.AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), &arguments) != JNI_OK) {
    return std::nullopt;
  }
  auto value = read(*env, name);
  env->ExceptionClear();
  vm.DetachCurrentThread();  // frees the local references
  return value;
}

}  // namespace host
