#include <cstdio>

#include "config/schema.h"

// Prints the page docs/formats/agent-yaml.md.
int main() {
  std::fputs(fw::configSchemaPage().c_str(), stdout);
  return 0;
}
