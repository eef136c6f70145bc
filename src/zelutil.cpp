#include "zelutil.h"

#include "agentfw/ras1.h"

RAS1_UNIT("ZELUTIL");

void zelWriteToTrace(const char* text) {
  RAS1_FLOW();
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"  // the caller's text is the format
  RAS1_PRINT(text);
#pragma GCC diagnostic pop
}
