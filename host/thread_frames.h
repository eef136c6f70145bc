#pragma once

struct JavaVM_;

namespace host {

/// Frees what outgoing messages leave on threads that no call guard surrounds.
///
/// The library's own threads, such as the one that sends one-way messages, attach themselves, and
/// attach again before each message, which only asks for the environment. The references of the
/// messages stay with the thread. From this call on, each such attach also frees those that were
/// made since the one before: they are those of the last message, which is over. Without a Java
/// caller beneath, nothing else can still hold them.
///
/// It replaces the virtual machine's table of invocation functions, for the whole process. Threads
/// attached by others, including Java's own, are left alone. Once per process.
void renewFramesOnAttach(JavaVM_& vm) noexcept;

/// Between these the references of the calling thread belong to somebody else, who frees them.
void holdThreadFrame() noexcept;
void releaseThreadFrame() noexcept;

}  // namespace host
