#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "jvm_finder.h"

/// Runs a test in every Java virtual machine of this machine.
class InEveryJvm : public testing::TestWithParam<host::Jvm> {
 protected:
  static std::string agentOption() { return std::string("-agentpath:") + ZELJRE; }

  static std::vector<std::string> probe(const std::string& what, const std::string& argument,
                                        const std::vector<std::string>& options = {}) {
    std::vector<std::string> command{JVM_PROBE, GetParam().library, what, argument};
    command.insert(command.end(), options.begin(), options.end());
    return command;
  }
};

inline std::vector<host::Jvm> jvmsToTest() {
  std::vector<host::Jvm> jvms = host::installedJvms("/usr/lib/jvm");
  std::erase_if(jvms, [](const host::Jvm& jvm) { return jvm.version < host::kOldestJava; });
  return jvms;
}

inline std::string jvmName(const testing::TestParamInfo<host::Jvm>& info) {
  return "Java" + std::to_string(info.param.version) + "_" + std::to_string(info.index);
}
