// The configuration file.

#include "config/load.h"
#include "fuzz/fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fw::LoadedConfig loaded =
      fw::parseConfig(std::string(fuzz::textOf(data, size)), "agent.yaml");
  fuzz::check(loaded.errors.empty() || loaded.errors.starts_with("agent.yaml:"),
              "an error names the file");
  return 0;
}
