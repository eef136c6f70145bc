#pragma once

#include <signal.h>

#include <map>

/// The JVM's handlers of the signals that ZEL_JVM_SIGNALS names; null when nothing was saved.
extern std::map<int, struct sigaction>* s_sigactions;

/// Remembers those handlers, after the JVM has installed them.
void zelSaveJvmSignals();

/// Puts them back, after the framework's start may have replaced them, and forgets them.
void zelRestoreJvmSignals();

/// Installs zelSignalHandler for SIGHUP and SIGTERM.
void zelInstallSignalHandler();

/// Ignores SIGHUP; stops the agent on SIGTERM, on the calling thread.
void zelSignalHandler(int sig);
