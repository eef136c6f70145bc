#pragma once

#include <jni.h>

#include <string>
#include <vector>

#include "plain_value.h"

namespace plain {

/// How the rows leave the tree of the reply. The library's request copies them.
enum class Rows { Copied, Moved };

/// The least code that asks the Java application for a sample and gets its rows: what the library
/// is measured against. The same messages, the same JNI calls in the same order; no request
/// objects, no tree for the way out, no trace.
class Exchange {
 public:
  /// Makes the Java server whose native is ours. Throws std::runtime_error.
  explicit Exchange(JNIEnv& env);

  /// Asks for a sample on the calling thread, which it attaches. Throws std::runtime_error. The
  /// local references of the message stay, as the library's do.
  std::vector<std::string> sample(const char* table, Rows rows);

 private:
  static void JNICALL onOutbound(JNIEnv* env, jobject server, jobject message);

  jobject integer(JNIEnv& env, int value) const;
  jobject boolean(JNIEnv& env, bool value) const;
  jobject list(JNIEnv& env) const;
  void put(JNIEnv& env, jobject map, int key, jobject value) const;
  jobject body(JNIEnv& env, const char* table) const;

  JavaVM* vm_ = nullptr;
  JavaTypes java_;
  jobject server_ = nullptr;
  jmethodID processInbound_ = nullptr;
};

}  // namespace plain
