#pragma once

#include <sys/types.h>

#include <ctime>
#include <string>

#include "jvm_logs.h"

namespace host {

/// What the logs say about why a process failed: the last errors of its trace, and the end of the
/// log of its Java virtual machine, each with the path of the file. Empty when they say nothing.
///
/// `since` is when the process started: older files are not its own. Nor are files of other users,
/// links and named pipes read. Trace lines that hold `told`, if that is not empty, are left out:
/// the reader knows them already.
std::string logExcerpt(const std::string& logsFolder, const JvmLogs& jvmLogs, pid_t process,
                       std::time_t since, const std::string& told = "");

}  // namespace host
