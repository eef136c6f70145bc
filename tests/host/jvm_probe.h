#pragma once

#include <jni.h>

/// @file
/// A program that creates one Java virtual machine, does one thing with it and prints the result:
/// a process can't make a second virtual machine, so each test starts its own.

/// Runs callbacks on a worker thread with and without the call guard; returns the exit status.
int probeGuard(JNIEnv& env, const char* library, int callbacks, bool guarded);
int probeSending(JNIEnv& env, const char* library, int messages, bool guarded);
