// What the library keeps until the process ends, on purpose; the leak checker would report it.

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  // Shared converters are never closed.
  return "leak:ZelUniConverter::getInstance\n";
}
