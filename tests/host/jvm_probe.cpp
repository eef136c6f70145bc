#include "jvm_probe.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

int fail(JNIEnv& env, const char* what) {
  if (env.ExceptionCheck()) {
    env.ExceptionDescribe();
  }
  std::printf("failed: %s\n", what);
  return 1;
}

JNIEnv* createJvm(const char* library, int count, char** texts) {
  void* handle = dlopen(library, RTLD_LAZY);
  if (handle == nullptr) {
    std::printf("failed: %s\n", dlerror());
    return nullptr;
  }
  using Create = jint(JNICALL*)(JavaVM**, void**, void*);
  const auto create = reinterpret_cast<Create>(dlsym(handle, "JNI_CreateJavaVM"));
  std::vector<JavaVMOption> options(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < options.size(); ++i) {
    options[i].optionString = texts[i];
  }
  JavaVMInitArgs args{JNI_VERSION_1_4, count, options.data(), JNI_TRUE};
  JavaVM* vm = nullptr;
  JNIEnv* env = nullptr;
  return create(&vm, reinterpret_cast<void**>(&env), &args) == JNI_OK ? env : nullptr;
}

/// Puts three entries into a map of the class and counts what newEntryIterator walks over.
int probeIterator(JNIEnv& env, const char* className) {
  jclass base = env.FindClass("java/util/HashMap");
  jmethodID iterate = env.GetMethodID(base, "newEntryIterator", "()Ljava/util/Iterator;");
  if (iterate == nullptr) {
    env.ExceptionClear();
    std::printf("%s has no newEntryIterator\n", className);
    return 0;
  }
  jclass mapClass = env.FindClass(className);
  jmethodID put =
      env.GetMethodID(mapClass, "put", "(Ljava/lang/Object;Ljava/lang/Object;)Ljava/lang/Object;");
  jobject map = env.NewObject(mapClass, env.GetMethodID(mapClass, "<init>", "()V"));
  for (const char* key : {"a", "b", "c"}) {
    env.CallObjectMethod(map, put, env.NewStringUTF(key), nullptr);
    if (env.ExceptionCheck()) {
      return fail(env, "put");
    }
  }
  jobject iterator = env.CallObjectMethod(map, iterate);
  if (iterator == nullptr || env.ExceptionCheck()) {
    return fail(env, "newEntryIterator");
  }
  jclass iteratorClass = env.FindClass("java/util/Iterator");
  jclass entryClass = env.FindClass("java/util/Map$Entry");
  jmethodID hasNext = env.GetMethodID(iteratorClass, "hasNext", "()Z");
  jmethodID next = env.GetMethodID(iteratorClass, "next", "()Ljava/lang/Object;");
  int entries = 0;
  while (env.CallBooleanMethod(iterator, hasNext)) {
    jobject entry = env.CallObjectMethod(iterator, next);
    if (env.ExceptionCheck()) {
      return fail(env, "next");
    }
    entries += env.IsInstanceOf(entry, entryClass) ? 1 : 0;
  }
  std::printf("%s walks over %i entries\n", className, entries);
  return 0;
}

/// Writes the class file of java.util.HashMap as this installation has it.
int probeDump(JNIEnv& env, const char* path) {
  jclass loader = env.FindClass("java/lang/ClassLoader");
  jmethodID open = env.GetStaticMethodID(loader, "getSystemResourceAsStream",
                                         "(Ljava/lang/String;)Ljava/io/InputStream;");
  jobject stream =
      env.CallStaticObjectMethod(loader, open, env.NewStringUTF("java/util/HashMap.class"));
  if (stream == nullptr || env.ExceptionCheck()) {
    return fail(env, "getSystemResourceAsStream");
  }
  jmethodID readAll = env.GetMethodID(env.FindClass("java/io/InputStream"), "readAllBytes", "()[B");
  auto bytes = static_cast<jbyteArray>(env.CallObjectMethod(stream, readAll));
  if (bytes == nullptr || env.ExceptionCheck()) {
    return fail(env, "readAllBytes");
  }
  const jsize size = env.GetArrayLength(bytes);
  std::vector<jbyte> copy(static_cast<std::size_t>(size));
  env.GetByteArrayRegion(bytes, 0, size, copy.data());
  std::FILE* file = std::fopen(path, "wb");
  std::fwrite(copy.data(), 1, copy.size(), file);
  std::fclose(file);
  std::printf("written\n");
  return 0;
}

int probe(JNIEnv& env, const char* library, const char* what, const char* argument) {
  if (std::strcmp(what, "iterator") == 0) {
    return probeIterator(env, argument);
  }
  if (std::strcmp(what, "dump") == 0) {
    return probeDump(env, argument);
  }
  if (std::strcmp(what, "sending") == 0 || std::strcmp(what, "sending-unguarded") == 0) {
    return probeSending(env, library, std::atoi(argument), std::strcmp(what, "sending") == 0);
  }
  if (std::strcmp(what, "guarded") == 0 || std::strcmp(what, "unguarded") == 0) {
    return probeGuard(env, library, std::atoi(argument), std::strcmp(what, "guarded") == 0);
  }
  return 2;
}

}  // namespace

/// Arguments: path of libjvm.so, what to do, its argument, then options of the virtual machine.
int main(int argc, char** argv) {
  if (argc < 4) {
    return 2;
  }
  JNIEnv* env = createJvm(argv[1], argc - 4, argv + 4);
  return env == nullptr ? 3 : probe(*env, argv[1], argv[2], argv[3]);
}
