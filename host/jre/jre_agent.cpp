#include <jvmti.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "jre/entry_iterator.h"

/// @file
/// Virtual machine agent that gives java.util.HashMap the method newEntryIterator when the class
/// is loaded. Named in the options file with -agentpath; it takes no options. HashMap is among the
/// first classes of all, so the hook asks for classes of the primordial phase too. From VMInit on
/// there is nothing left to do, and the agent's environment is disposed of.

namespace {

constexpr char kClassName[] = "java/util/HashMap";

void complain(const char* what) { std::fprintf(stderr, "libzeljre: %s\n", what); }

void JNICALL onClassFileLoad(jvmtiEnv* jvmti, JNIEnv*, jclass, jobject loader, const char* name,
                             jobject, jint length, const unsigned char* bytes, jint* newLength,
                             unsigned char** newBytes) {
  if (name == nullptr || loader != nullptr || std::strcmp(name, kClassName) != 0) {
    return;
  }
  try {
    const auto rewritten = jre::addEntryIterator({bytes, static_cast<std::size_t>(length)});
    if (rewritten.outcome == jre::Rewrite::NotUnderstood) {
      complain("the class file of java.util.HashMap is in a form that it does not know");
    }
    if (rewritten.outcome != jre::Rewrite::Added) {
      return;
    }
    unsigned char* copy = nullptr;  // the virtual machine frees it
    if (jvmti->Allocate(static_cast<jlong>(rewritten.bytes.size()), &copy) != JVMTI_ERROR_NONE) {
      complain("no memory for the class java.util.HashMap");
      return;
    }
    std::copy(rewritten.bytes.begin(), rewritten.bytes.end(), copy);
    *newBytes = copy;
    *newLength = static_cast<jint>(rewritten.bytes.size());
  } catch (const std::exception& e) {
    complain(e.what());
  }
}

void JNICALL onVmInit(jvmtiEnv* jvmti, JNIEnv*, jthread) {
  jvmti->SetEventNotificationMode(JVMTI_DISABLE, JVMTI_EVENT_CLASS_FILE_LOAD_HOOK, nullptr);
  jvmti->DisposeEnvironment();
}

bool prepare(jvmtiEnv& jvmti) {
  jvmtiCapabilities capabilities{};
  capabilities.can_generate_all_class_hook_events = 1;
  capabilities.can_generate_early_class_hook_events = 1;
  jvmtiEventCallbacks callbacks{};
  callbacks.ClassFileLoadHook = onClassFileLoad;
  callbacks.VMInit = onVmInit;
  const auto enable = [&](jvmtiEvent event) {
    return jvmti.SetEventNotificationMode(JVMTI_ENABLE, event, nullptr) == JVMTI_ERROR_NONE;
  };
  return jvmti.AddCapabilities(&capabilities) == JVMTI_ERROR_NONE &&
         jvmti.SetEventCallbacks(&callbacks, sizeof callbacks) == JVMTI_ERROR_NONE &&
         enable(JVMTI_EVENT_CLASS_FILE_LOAD_HOOK) && enable(JVMTI_EVENT_VM_INIT);
}

}  // namespace

extern "C" JNIEXPORT jint JNICALL Agent_OnLoad(JavaVM* vm, char*, void*) {
  jvmtiEnv* jvmti = nullptr;
  if (vm->GetEnv(reinterpret_cast<void**>(&jvmti), JVMTI_VERSION_1_2) != JNI_OK ||
      !prepare(*jvmti)) {
    complain("this virtual machine offers no early class file hook");
    return JNI_ERR;
  }
  return JNI_OK;
}
