// Runs a fuzz target over the files that are named, or stand in the folders that are named.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz_target.h"

namespace files = std::filesystem;

int main(int argc, char** argv) {
  std::vector<files::path> inputs;
  for (int i = 1; i < argc; ++i) {
    if (files::is_directory(argv[i])) {
      for (const auto& entry : files::directory_iterator(argv[i])) {
        inputs.push_back(entry.path());
      }
    } else {
      inputs.emplace_back(argv[i]);
    }
  }
  std::sort(inputs.begin(), inputs.end());
  for (const files::path& input : inputs) {
    std::printf("%s\n", input.c_str());
    std::fflush(stdout);
    std::ifstream file(input, std::ios::binary);
    fuzz::check(file.is_open(), "the input can be read");
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  fuzz::check(!inputs.empty(), "there is an input");
  std::printf("%zu inputs\n", inputs.size());
}
