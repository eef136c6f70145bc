#include "thread_dump.h"

#include <fmt/core.h>
#include <jvmti.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>

#include "agentfw/ras1.h"

RAS1_UNIT("ZELDUMP");

namespace host {
namespace {

constexpr jint kMaxFrames = 256;

/// Memory that the interface has allocated.
template <typename T>
class Held {
 public:
  explicit Held(jvmtiEnv& jvmti) : jvmti_(jvmti) {}
  ~Held() { jvmti_.Deallocate(reinterpret_cast<unsigned char*>(memory_)); }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  T** out() { return &memory_; }
  T* get() const { return memory_; }

 private:
  jvmtiEnv& jvmti_;
  T* memory_ = nullptr;
};

std::string_view stateText(jint state) {
  if ((state & JVMTI_THREAD_STATE_BLOCKED_ON_MONITOR_ENTER) != 0) {
    return "blocked on a monitor";
  }
  if ((state & JVMTI_THREAD_STATE_SLEEPING) != 0) {
    return "sleeping";
  }
  if ((state & JVMTI_THREAD_STATE_IN_OBJECT_WAIT) != 0) {
    return "waiting on a monitor";
  }
  if ((state & JVMTI_THREAD_STATE_PARKED) != 0) {
    return "parked";
  }
  if ((state & JVMTI_THREAD_STATE_WAITING) != 0) {
    return "waiting";
  }
  return (state & JVMTI_THREAD_STATE_RUNNABLE) != 0 ? "runnable" : "new or ended";
}

/// "java.lang.Object" of "Ljava/lang/Object;".
std::string classNameOf(std::string_view signature) {
  if (signature.size() > 2 && signature.front() == 'L') {
    signature = signature.substr(1, signature.size() - 2);
  }
  std::string name(signature);
  std::replace(name.begin(), name.end(), '/', '.');
  return name;
}

/// The source line of a place in a method; 0 when unknown.
jint lineOf(jvmtiEnv& jvmti, const jvmtiFrameInfo& frame) {
  jint count = 0;
  Held<jvmtiLineNumberEntry> table(jvmti);
  if (jvmti.GetLineNumberTable(frame.method, &count, table.out()) != JVMTI_ERROR_NONE) {
    return 0;
  }
  jint line = 0;
  jlocation best = -1;
  for (jint i = 0; i < count; ++i) {
    const jvmtiLineNumberEntry& entry = table.get()[i];
    if (entry.start_location <= frame.location && entry.start_location > best) {
      best = entry.start_location;
      line = entry.line_number;
    }
  }
  return line;
}

std::string frameText(jvmtiEnv& jvmti, JNIEnv& jni, const jvmtiFrameInfo& frame) {
  jclass type = nullptr;
  Held<char> method(jvmti);
  if (jvmti.GetMethodDeclaringClass(frame.method, &type) != JVMTI_ERROR_NONE ||
      jvmti.GetMethodName(frame.method, method.out(), nullptr, nullptr) != JVMTI_ERROR_NONE) {
    return "    at an unknown method\n";
  }
  Held<char> signature(jvmti);
  Held<char> file(jvmti);
  jvmti.GetClassSignature(type, signature.out(), nullptr);
  jvmti.GetSourceFileName(type, file.out());
  jni.DeleteLocalRef(type);
  std::string place = frame.location < 0      ? "native code"
                      : file.get() == nullptr ? "source unknown"
                                              : file.get();
  if (const jint line = frame.location < 0 ? 0 : lineOf(jvmti, frame); line > 0) {
    place += fmt::format(":{}", line);
  }
  return fmt::format("    at {}.{}({})\n",
                     classNameOf(signature.get() == nullptr ? "" : signature.get()), method.get(),
                     place);
}

std::string threadText(jvmtiEnv& jvmti, JNIEnv& jni, const jvmtiStackInfo& stack) {
  jvmtiThreadInfo info{};
  if (jvmti.GetThreadInfo(stack.thread, &info) != JVMTI_ERROR_NONE) {
    return {};  // it has ended meanwhile
  }
  std::string text = fmt::format("\"{}\"{} {}\n", info.name, info.is_daemon != 0 ? " daemon" : "",
                                 stateText(stack.state));
  jvmti.Deallocate(reinterpret_cast<unsigned char*>(info.name));
  jni.DeleteLocalRef(info.thread_group);
  jni.DeleteLocalRef(info.context_class_loader);
  for (jint i = 0; i < stack.frame_count; ++i) {
    text += frameText(jvmti, jni, stack.frame_buffer[i]);
  }
  return text + "\n";
}

std::string dumpOf(jvmtiEnv& jvmti, JNIEnv& jni) {
  jvmtiCapabilities wanted{};
  wanted.can_get_line_numbers = 1;
  wanted.can_get_source_file_name = 1;
  jvmti.AddCapabilities(&wanted);  // without them the dump says less
  Held<jvmtiStackInfo> stacks(jvmti);
  jint count = 0;
  const jvmtiError error = jvmti.GetAllStackTraces(kMaxFrames, stacks.out(), &count);
  if (error != JVMTI_ERROR_NONE) {
    return fmt::format("zelagent: no thread dump: the Java virtual machine refuses (error {})\n",
                       static_cast<int>(error));
  }
  std::string text = fmt::format("zelagent: the {} Java threads:\n\n", count);
  for (jint i = 0; i < count; ++i) {
    text += threadText(jvmti, jni, stacks.get()[i]);
  }
  return text + "zelagent: end of the thread dump\n";
}

std::string dump(JavaVM& vm) {
  char name[] = "zel-thread-dump";
  JavaVMAttachArgs arguments{JNI_VERSION_1_6, name, nullptr};
  JNIEnv* jni = nullptr;
  jvmtiEnv* jvmti = nullptr;
  if (vm.AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&jni), &arguments) != JNI_OK) {
    return "zelagent: no thread dump: the Java virtual machine accepts no more threads\n";
  }
  std::string text = "zelagent: no thread dump: the Java virtual machine offers none\n";
  if (vm.GetEnv(reinterpret_cast<void**>(&jvmti), JVMTI_VERSION_1_2) == JNI_OK) {
    text = dumpOf(*jvmti, *jni);
    jvmti->DisposeEnvironment();
  }
  vm.DetachCurrentThread();
  return text;
}

}  // namespace

void dumpThreads(JavaVM_* vm) noexcept {
  RAS1_FUNCTION();
  static std::atomic<bool> isDumping{false};
  if (vm == nullptr) {
    std::fputs("zelagent: no thread dump: no Java virtual machine is running yet\n", stderr);
    return;
  }
  if (isDumping.exchange(true)) {
    return;
  }
  try {
    std::thread([vm] {
      pthread_setname_np(pthread_self(), "zel-thread-dump");
      try {
        std::fputs(dump(*vm).c_str(), stderr);
        RAS1_PRINT("Signal 3: a thread dump went to standard error");
      } catch (const std::exception& e) {
        RAS1_PRINT("ERROR: no thread dump. %s", e.what());
      }
      isDumping = false;
    }).detach();
  } catch (const std::exception& e) {  // no thread available
    isDumping = false;
    RAS1_PRINT("ERROR: no thread dump. %s", e.what());
  }
}

}  // namespace host
