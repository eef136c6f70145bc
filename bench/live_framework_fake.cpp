#include <cstdio>

#include "live_framework.h"
#include "live_jvm.h"
#include "support/fake_framework.h"

namespace live {

void setVariable(const std::string& name, const std::string& value) {
  fake::Framework::get().env[name] = value;
}

// A record that comes later would look like one of an exchange.
void awaitStart() { fake::Framework::get().waitForMessage("Message handler started"); }

void showTrace() {
  for (const std::string& message : fake::Framework::get().messages()) {
    std::fprintf(stderr, "%s\n", message.c_str());
  }
}

}  // namespace live

std::size_t LiveJvm::frameworkCalls() {
  const fake::Framework& framework = fake::Framework::get();
  return framework.calls().size() + framework.trace().size();
}
