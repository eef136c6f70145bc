#include "jvm_call_guard.h"

#include <dlfcn.h>
#include <jni.h>

#include "thread_frames.h"

namespace host {
namespace {

constexpr jint kJniVersion = JNI_VERSION_1_6;
constexpr jint kFrameSize = 32;  // a frame grows when a callback needs more

/// Detaches a thread that we attached, when it ends: a thread that ends attached leaks its record.
struct Attachment {
  JavaVM* vm = nullptr;
  ~Attachment() {
    if (vm != nullptr) {
      vm->DetachCurrentThread();
    }
  }
};

JNIEnv* environmentOf(JavaVM& vm) {
  JNIEnv* env = nullptr;
  const jint state = vm.GetEnv(reinterpret_cast<void**>(&env), kJniVersion);
  if (state == JNI_OK) {
    return env;
  }
  if (state != JNI_EDETACHED) {
    return nullptr;
  }
  // As a daemon: a worker must not keep the virtual machine from ending.
  char name[] = "zel-worker";
  JavaVMAttachArgs arguments{kJniVersion, name, nullptr};
  if (vm.AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), &arguments) != JNI_OK) {
    return nullptr;
  }
  thread_local Attachment attachment;
  attachment.vm = &vm;
  return env;
}

}  // namespace

void JvmCallGuard::open(const std::string& library) noexcept {
  void* handle = dlopen(library.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr) {
    return;
  }
  using GetCreated = jint(JNICALL*)(JavaVM**, jsize, jsize*);
  const auto getCreated = reinterpret_cast<GetCreated>(dlsym(handle, "JNI_GetCreatedJavaVMs"));
  JavaVM* vm = nullptr;
  jsize count = 0;
  if (getCreated != nullptr && getCreated(&vm, 1, &count) == JNI_OK && count > 0) {
    renewFramesOnAttach(*vm);
    vm_ = vm;
  }
  dlclose(handle);  // the reference that this dlopen took; the library's own stays
}

void* JvmCallGuard::enter() noexcept {
  JavaVM* machine = vm();
  if (machine == nullptr) {
    return nullptr;
  }
  JNIEnv* env = environmentOf(*machine);
  if (env == nullptr) {
    return nullptr;
  }
  if (env->PushLocalFrame(kFrameSize) != JNI_OK) {
    env->ExceptionClear();  // the failure leaves an OutOfMemoryError behind
    return nullptr;
  }
  holdThreadFrame();
  return env;
}

void JvmCallGuard::leave(void* token) noexcept {
  if (token != nullptr) {
    releaseThreadFrame();
    static_cast<JNIEnv*>(token)->PopLocalFrame(nullptr);
  }
}

}  // namespace host
