#pragma once

struct JavaVM_;

namespace host {

/// Writes what each Java thread is doing to standard error. Returns at once; the dump is made on a
/// separate thread, one at a time, since a virtual machine in trouble may need a long time to stop
/// its threads. Runs no Java code, so neither locks nor a full heap of the application are in its
/// way. A null `vm` stands for none.
void dumpThreads(JavaVM_* vm) noexcept;

}  // namespace host
