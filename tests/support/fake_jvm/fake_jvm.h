#pragma once

#include <jni.h>

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/fake_jvm/fake_heap.h"

namespace fakejvm {

/// An exception that an operation raises, once.
struct Raise {
  std::string className = "java/lang/RuntimeException";
  std::string message = "scripted";
  int after = 0;  ///< calls that still succeed
};

/// A native method that was registered.
struct Native {
  std::string className;
  std::string name;
  std::string signature;
  void* function;

  /// The function as what it is.
  template <typename Function>
  Function* as() const {
    return reinterpret_cast<Function*>(function);
  }
};

/// A Java virtual machine that records every JNI call and answers as the test says.
///
/// One per process, in a shared library that is found both by dlopen, as the library under test
/// does, and by linking, as the test does. Safe for any thread; reset() it before each test.
/// Operations are named as in JNI without variants ("FindClass", "NewObject", "CallObjectMethod",
/// "NewStringUTF"), Java methods as "java/util/HashMap.get".
class FAKEJVM_API Jvm {
 public:
  static Jvm& get();

  /// Forgets records, answers, references and hooks. A thread's environment stays valid.
  void reset();

  /// Frees the calling thread's local references, as the end of a native frame does. Gives back the
  /// space of those made last, so that a long test stays small; a later use of one is not found.
  void endLocalFrame();

  bool isRecording = true;  ///< whether calls are recorded, which slows long tests down

  // Answers. Set them before the library may ask.
  int createResult = JNI_OK;
  bool isCreatedOnce = false;  ///< as in real JVMs, every further creation gives JNI_EEXIST
  int attachResult = JNI_OK;
  int detachResult = JNI_OK;
  int registerResult = JNI_OK;
  std::set<std::string> missingClasses;
  std::set<std::string> missingMethods;  ///< "java/util/HashMap.newEntryIterator"
  std::set<std::string> nullResults;     ///< operations that give null and raise nothing
  std::map<std::string, Raise> raising;  ///< by operation or Java method
  ObjectPtr server;                      ///< what WbApp.init gives
  std::function<void()> onCreate;        ///< runs inside JNI_CreateJavaVM
  std::function<void(JNIEnv*, const ObjectPtr& msg)> onProcessInbound;  ///< runs inside it

  // What was recorded.
  std::vector<std::string> calls() const;  ///< without the tests for a pending exception
  std::vector<std::string> callsWithChecks() const;
  std::vector<std::string> callsOf(const std::string& prefix) const;
  /// Misuse: dead references, calls with an exception pending, a foreign thread's environment.
  std::vector<std::string> faults() const;
  std::size_t localReferences() const;  ///< of the calling thread
  /// The most that the calling thread had at a time, since the reset.
  std::size_t peakLocalReferences() const;
  std::size_t globalReferences() const;
  std::size_t heldBuffers() const;  ///< characters and elements that were not released
  const Native* native(const std::string& name) const;  ///< null when it was not registered
  std::optional<JavaVMInitArgs> args() const;           ///< of the last creation; without options
  std::vector<std::string> options() const;             ///< texts of its options
  void* extraInfo(const std::string& option) const;

  // For tests that play Java.
  JNIEnv* env();  ///< of the calling thread, attached or not
  jobject local(const ObjectPtr& object);
  ObjectPtr resolve(jobject reference);
  void raise(const std::string& className, const std::string& message);
  ObjectPtr pending();

  // For the operations of the fake.
  struct Method {
    std::string className;
    std::string name;
    std::string signature;
    std::string id() const { return className + "." + name; }
  };
  struct Reference {
    ObjectPtr object;
    bool isGlobal = false;
    bool isLive = true;
    std::thread::id owner;
  };
  void record(const std::string& text);
  void fault(const std::string& text);
  /// Notes the use of an environment, whether it may be used now.
  void enter(JNIEnv* env, const std::string& operation, bool mayBePending = false);
  bool isRaising(const std::string& operation);  ///< raises it when the test wants so
  bool givesNull(const std::string& operation) const;
  jobject reference(const ObjectPtr& object, bool isGlobal);
  void drop(jobject reference, bool isGlobal);
  ObjectPtr internClass(const std::string& name);
  const Method* internMethod(const Method& method);
  /// The method that an id stands for, "java/util/ArrayList.size()I"; empty for null.
  static std::string describeMethod(jmethodID id);
  void addNative(Native native);
  int create(const JavaVMInitArgs& args);  ///< the result of the creation
  void hold(const void* buffer);
  void letGo(const void* buffer);

 private:
  mutable std::recursive_mutex mutex_;
  std::vector<std::string> calls_;
  std::vector<std::string> faults_;
  std::deque<Reference> references_;  // dead ones stay: late uses are found
  std::map<std::string, ObjectPtr> classes_;
  std::deque<Method> methods_;  // ids stay valid through reset()
  std::vector<Native> natives_;
  bool isCreated_ = false;
  std::optional<JavaVMInitArgs> args_;
  std::vector<std::pair<std::string, void*>> options_;
  std::set<const void*> buffers_;
  std::map<std::thread::id, ObjectPtr> pending_;
  struct LocalCount {
    std::size_t live = 0;
    std::size_t peak = 0;
  };
  std::map<std::thread::id, LocalCount> locals_;
};

/// The function table of every environment.
const JNINativeInterface_* functions();

}  // namespace fakejvm
