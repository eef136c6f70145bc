#pragma once

#include <optional>
#include <string>

struct JavaVM_;

namespace host {

/// The value of a system property of the Java virtual machine; nothing when it is not set, or when
/// Java can no longer be asked. For a thread that is not attached; may block for as long as the
/// virtual machine holds its threads.
std::optional<std::string> javaProperty(JavaVM_& vm, const std::string& name);

}  // namespace host
