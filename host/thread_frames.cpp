#include "thread_frames.h"

#include <jni.h>

namespace host {
namespace {

constexpr jint kJniVersion = JNI_VERSION_1_6;
constexpr jint kFrameSize = 32;  // a frame grows when a message needs more

struct ThreadFrame {
  bool isOwn = false;   ///< the library has attached this thread, and nobody else
  bool isOpen = false;  ///< a frame holds the references of the last message
  int holds = 0;
};

const JNIInvokeInterface_* original = nullptr;
JNIInvokeInterface_ replaced;
thread_local ThreadFrame frame;

void renew(JNIEnv& env) {
  if (frame.isOpen) {
    env.PopLocalFrame(nullptr);
  }
  frame.isOpen = env.PushLocalFrame(kFrameSize) == JNI_OK;
  if (!frame.isOpen) {
    env.ExceptionClear();  // the failure leaves an OutOfMemoryError behind
  }
}

jint JNICALL attachAsDaemon(JavaVM* vm, void** env, void* arguments) {
  void* before = nullptr;
  const bool isNew = original->GetEnv(vm, &before, kJniVersion) == JNI_EDETACHED;
  const jint rc = original->AttachCurrentThreadAsDaemon(vm, env, arguments);
  if (rc != JNI_OK) {
    return rc;
  }
  if (isNew) {
    // The library attaches without arguments.
    frame = {arguments == nullptr, false, frame.holds};
  }
  if (frame.isOwn && frame.holds == 0) {
    renew(*static_cast<JNIEnv*>(*env));
  }
  return rc;
}

}  // namespace

void renewFramesOnAttach(JavaVM_& vm) noexcept {
  if (original == nullptr) {
    original = vm.functions;
    replaced = *vm.functions;
    replaced.AttachCurrentThreadAsDaemon = attachAsDaemon;
    vm.functions = &replaced;
  }
}

void holdThreadFrame() noexcept { ++frame.holds; }

void releaseThreadFrame() noexcept { --frame.holds; }

}  // namespace host
