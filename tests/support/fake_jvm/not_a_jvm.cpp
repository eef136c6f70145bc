// A shared library that can be loaded but has no JNI_CreateJavaVM.

extern "C" __attribute__((visibility("default"))) int notAJvm() { return 0; }
