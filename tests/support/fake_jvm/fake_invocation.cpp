// The invocation interface: what the library finds in the JVM's shared library.

#include "support/fake_jvm/fake_jvm.h"

namespace fakejvm {

namespace {

jint destroyJvm(JavaVM* /*vm*/) {
  Jvm::get().fault("DestroyJavaVM");
  return JNI_ERR;
}

jint attachAsDaemon(JavaVM* /*vm*/, void** env, void* args) {
  Jvm& jvm = Jvm::get();
  jvm.record(args == nullptr ? "AttachCurrentThreadAsDaemon(null)"
                             : "AttachCurrentThreadAsDaemon(arguments)");
  *env = jvm.env();
  return jvm.attachResult;
}

jint attachAsUser(JavaVM* /*vm*/, void** /*env*/, void* /*args*/) {
  Jvm::get().fault("AttachCurrentThread");  // would keep the JVM from ending
  return JNI_ERR;
}

jint detach(JavaVM* /*vm*/) {
  Jvm& jvm = Jvm::get();
  jvm.record("DetachCurrentThread()");
  return jvm.detachResult;
}

jint getEnv(JavaVM* /*vm*/, void** env, jint /*version*/) {
  *env = Jvm::get().env();
  return JNI_OK;
}

JavaVM* machine() {
  static const JNIInvokeInterface_ table{nullptr,      nullptr, nullptr, destroyJvm,
                                         attachAsUser, detach,  getEnv,  attachAsDaemon};
  static JavaVM& vm = *new JavaVM{&table};
  return &vm;
}

}  // namespace

}  // namespace fakejvm

extern "C" FAKEJVM_API jint JNI_CreateJavaVM(JavaVM** vm, void** env, void* args) {
  fakejvm::Jvm& jvm = fakejvm::Jvm::get();
  jvm.record("JNI_CreateJavaVM()");
  if (jvm.onCreate) {
    jvm.onCreate();
  }
  const int result = jvm.create(*static_cast<const JavaVMInitArgs*>(args));
  if (result != JNI_OK) {
    return result;
  }
  *vm = fakejvm::machine();
  *env = jvm.env();
  return JNI_OK;
}
