#pragma once

#include <map>
#include <set>
#include <string>

/// Starts a program as a daemon: a process with its own session, adopted by init, with only its
/// three standard streams open. Failures are traced, those after the last fork are written to the
/// daemon's error file.
///
/// The command is split into words at blanks and tabs, without quoting; the first is the program's
/// path. Words beyond the 255th are dropped. `dir` may be null (stay here), the files too
/// (/dev/null); files are appended to. The daemon gets this process's environment with `setEnv`
/// added or replaced and `unsetEnv` removed, at most 1023 entries.
void zelSpawnDaemon(const char* command, const char* dir, const char* stdoutFile,
                    const char* stderrFile, const std::map<std::string, std::string>& setEnv,
                    const std::set<std::string>& unsetEnv);

/// Turns the calling process, a child made for that, into the daemon's parent: redirects its
/// streams and forks the daemon. Returns the daemon's process id, 0 when a step failed.
int zelDaemonProc(const char* path, const char** argv, const char** envp, const char* dir,
                  const char* stdoutFile, const char* stderrFile);

/// Whether a process exists, whoever owns it.
bool zelIsRunningProcess(unsigned long pid);

/// Routine of the process information logger thread. Does nothing yet; the thread ends at once.
void* zelProcInfoLogger(void* unused);
