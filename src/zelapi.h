#pragma once

/// @file
/// Entry points of libzel.so, the native half of the agent. It exports nothing else.
///
/// The library expects its settings in the environment: ZEL_PROD (product code), ZEL_INST (instance
/// id) and ZEL_PROD_HOME (working directory) are required; ZEL_LIBJVM names the JVM's library.
///
/// It asks for SIGHUP and SIGTERM with signal(). Its handler takes locks and calls Java, which no
/// thread can do inside a signal handler: it may hold those very locks, or belong to the garbage
/// collector. So a host must defer these signals: define signal() in the executable, remember the
/// handler that the library asks for, and call it as an ordinary function, one signal at a time,
/// from a thread that does nothing else.
///
/// Its threads and the JVM's run until the process is gone, and are never joined. So end the
/// process with _exit(): exit() would destroy, under these threads, objects that they use.

#define ZEL_API __attribute__((visibility("default")))

extern "C" {

/// Starts the agent and runs it on the calling thread until it is stopped. Returns 0 after a normal
/// run, -1 when it could not start; the reason is in the trace. Call once per process.
ZEL_API int zelAgentStart();

/// Stops the agent, from any thread: tells the Java application, then ends the main loop.
ZEL_API void zelAgentStop();

/// Waits at most `timeout` milliseconds (0: not at all) for the agent to begin its shut-down.
/// Returns 1 when it has, else 0.
ZEL_API int zelWaitForAgentShutdown(unsigned long timeout);

/// Called by the framework's main loop: registers the tables and starts the Java application's
/// collection. Returns 0 on success, 1 on failure.
ZEL_API int LoadAgents();
}
