#pragma once

#include <jni.h>

#include <atomic>
#include <cstdint>

/// @file
/// The native methods of the Java application, called on its threads. None lets a C++ exception
/// pass into Java.

/// The trace classes of the Java application's records that are written. Taken once, when the JNI
/// client is constructed: a later change of the trace settings does not change it.
extern std::atomic<std::uint32_t> zelJavaTraceMask;

extern "C" {

/// Takes a message from the Java application: a reply, a notification or a request.
void zelPutOutboundCallback(JNIEnv* env, jobject self, jobject msg);

/// Writes a record of the Java application's log when all classes in `level` are enabled.
void zelRasTrace(JNIEnv* env, jclass type, jint level, jstring component, jstring sourceFile,
                 jstring function, jstring message);

/// Starts a daemon. `envMap` (HashMap of String to String, may be null) changes its environment; a
/// null value removes the variable. Failures are traced only.
void zelRunDaemon(JNIEnv* env, jclass type, jstring command, jobject envMap, jstring dir,
                  jstring stdoutFile, jstring stderrFile);

/// Whether a process exists.
jboolean zelIsRunningPid(JNIEnv* env, jclass type, jlong pid);
}
