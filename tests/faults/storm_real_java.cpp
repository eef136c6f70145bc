#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "faults/storm_java.h"
#include "support/fake_framework.h"

void storm::setUpJava(const std::string& home) {
  std::ofstream(home + "/config/tstwb.properties")
      << TEST_APPLICATION_JAR << "\n-Xrs\n-Xmx64m\n-XX:-MaxFDLimit\n-agentpath:" << ZELJRE_LIBRARY
      << "\n";
  const char* library = std::getenv("ZEL_TEST_JVM");
  if (library == nullptr) {
    throw std::runtime_error("ZEL_TEST_JVM names no virtual machine");
  }
  fake::Framework::get().env["ZEL_LIBJVM"] = library;
}
