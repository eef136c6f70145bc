// What the library keeps until the process ends, on purpose; the leak checker would report it.

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  // Shared converters are never closed, and a table manager leaves its cached samples behind.
  return "leak:ZelUniConverter::getInstance\n"
         "leak:ZelTableManager::cacheSamples\n";
}
