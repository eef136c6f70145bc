#pragma once

#include <jni.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>

/// The Java virtual machine in this process.
///
/// All state is class-static; nothing is instantiated. start() and stop() run on the thread that
/// builds and destroys the JNI client. The other operations may be called from any thread between
/// the two. Whatever throws, throws a ZelException after it has traced why.
class ZelJvm {
 public:
  ZelJvm() = delete;

  /// Opens the library that ZEL_LIBJVM names.
  static void* load();

  /// Creates the JVM with the options of config/<product>wb.properties and prepares the classes
  /// that the wrappers need. Once per process: no JVM can be created twice.
  static void start();

  /// Forgets the JVM and closes its log. The JVM itself lives as long as the process.
  static void stop();

  /// The calling thread's environment. Attaches the thread as a daemon when it is not attached: a
  /// forgotten native thread must not keep the JVM from ending.
  static JNIEnv* attach();

  static void detach();

  /// The text of a JNI return code.
  static const char* getErrorMsg(int rc);

  /// Reports and clears a pending Java exception; whether there was one. A java.lang.Error ends
  /// the process, after an orderly shut-down of the agent.
  static bool hasException(JNIEnv& env);

  // Hooks, called by the JVM on whatever thread exits, aborts or prints.
  [[noreturn]] static void exitHook(jint status);
  [[noreturn]] static void abortHook();
  /// Writes to the JVM log whatever stream the JVM names; drops the text when there is no log.
  static jint vfprintfHook(std::FILE* stream, const char* format, std::va_list args);

  static std::atomic<void*> s_dll;  ///< never closed
  static std::atomic<JavaVM*> s_jvm;
  static std::atomic<std::FILE*> s_log;     ///< null when it could not be opened
  static std::atomic<jclass> s_errorClass;  ///< java.lang.Error, a global reference
};
