#pragma once

struct JavaVM_;

namespace host {

/// Writes what each Java thread does at this moment to standard error. Returns at once; the dump is
/// made on a thread of its own, one at a time, since a virtual machine in trouble may take its time
/// to hold its threads. Runs no Java code, so neither locks nor a full heap of the application are
/// in its way. A null `vm` is none.
void dumpThreads(JavaVM_* vm) noexcept;

}  // namespace host
