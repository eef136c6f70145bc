#include <cstdio>
#include <thread>

#include "jvm_call_guard.h"
#include "jvm_probe.h"

namespace {

/// Leaves references behind, as an outgoing message does.
void leaveReferences(JNIEnv& env) {
  for (int i = 0; i < 12; ++i) {
    env.NewByteArray(64);
  }
}

/// How many references the thread's frame can hold at once is no measure; what the heap keeps is.
jlong usedHeap(JNIEnv& env) {
  jclass runtimeClass = env.FindClass("java/lang/Runtime");
  jobject runtime = env.CallStaticObjectMethod(
      runtimeClass, env.GetStaticMethodID(runtimeClass, "getRuntime", "()Ljava/lang/Runtime;"));
  env.CallVoidMethod(runtime, env.GetMethodID(runtimeClass, "gc", "()V"));
  return env.CallLongMethod(runtime, env.GetMethodID(runtimeClass, "totalMemory", "()J")) -
         env.CallLongMethod(runtime, env.GetMethodID(runtimeClass, "freeMemory", "()J"));
}

jint threadCount(JNIEnv& env) {
  jclass threadClass = env.FindClass("java/lang/Thread");
  return env.CallStaticIntMethod(threadClass,
                                 env.GetStaticMethodID(threadClass, "activeCount", "()I"));
}

}  // namespace

int probeGuard(JNIEnv& env, const char* library, int callbacks, bool guarded) {
  JavaVM* vm = nullptr;
  env.GetJavaVM(&vm);
  static host::JvmCallGuard guard;
  if (guard.enter() != nullptr) {
    std::printf("a guard that is not open gave a token\n");
    return 1;
  }
  if (guarded) {
    guard.open(library);
  }
  const jint threadsBefore = threadCount(env);
  jlong growth = 0;
  bool daemon = false;
  std::thread worker([&] {
    JNIEnv* own = nullptr;
    void* token = guard.enter();
    vm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&own), nullptr);
    jclass threadClass = own->FindClass("java/lang/Thread");
    jobject thread = own->CallStaticObjectMethod(
        threadClass, own->GetStaticMethodID(threadClass, "currentThread", "()Ljava/lang/Thread;"));
    daemon = own->CallBooleanMethod(thread, own->GetMethodID(threadClass, "isDaemon", "()Z"));
    const jlong before = usedHeap(*own);
    guard.leave(token);
    for (int i = 0; i < callbacks; ++i) {
      void* outer = guard.enter();
      leaveReferences(*own);
      void* inner = guard.enter();  // a callback may lead to another one
      leaveReferences(*own);
      guard.leave(inner);
      guard.leave(outer);
    }
    growth = usedHeap(*own) - before;
    if (!guarded) {
      vm->DetachCurrentThread();
    }
  });
  worker.join();
  std::printf("daemon %i, threads left %i, heap growth %lld\n", daemon ? 1 : 0,
              static_cast<int>(threadCount(env) - threadsBefore), static_cast<long long>(growth));
  return 0;
}

int probeSending(JNIEnv& env, const char* library, int messages, bool guarded) {
  JavaVM* vm = nullptr;
  env.GetJavaVM(&vm);
  static host::JvmCallGuard guard;
  if (guarded) {
    guard.open(library);
  }
  jlong growth = 0;
  std::thread sender([&] {
    JNIEnv* own = nullptr;
    vm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&own), nullptr);
    const jlong before = usedHeap(*own);
    for (int i = 0; i < messages; ++i) {
      vm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&own), nullptr);
      leaveReferences(*own);
      void* callback = guard.enter();
      jobject kept = own->NewByteArray(64);
      vm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&own), nullptr);
      own->GetArrayLength(static_cast<jarray>(kept));  // -Xcheck:jni sees a freed one
      guard.leave(callback);
      leaveReferences(*own);
    }
    vm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&own), nullptr);
    growth = usedHeap(*own) - before;
    vm->DetachCurrentThread();
  });
  sender.join();
  // A thread that Java knows keeps its references, however often it is attached.
  jobject kept = env.NewByteArray(64);
  void* same = nullptr;
  vm->AttachCurrentThreadAsDaemon(&same, nullptr);
  env.GetArrayLength(static_cast<jarray>(kept));
  std::printf("daemon 1, threads left 0, heap growth %lld\n", static_cast<long long>(growth));
  return 0;
}
