// The file with the options of the Java virtual machine.

#include "bridge/jni/zeljvmoptions.h"
#include "fuzz/fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;  // fmemopen takes no empty buffer
  }
  std::FILE* file = fmemopen(const_cast<std::uint8_t*>(data), size, "r");
  const std::vector<std::string> options = zelReadJvmOptions(file);
  std::fclose(file);
  fuzz::check(!options.empty(), "there is a class path");
  fuzz::check(options.front().starts_with("-Djava.class.path="), "the class path comes first");
  for (const std::string& option : options) {
    fuzz::check(!option.empty(), "no option is empty");
  }
  return 0;
}
