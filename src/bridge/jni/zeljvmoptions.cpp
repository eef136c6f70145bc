#include "bridge/jni/zeljvmoptions.h"

#include <cctype>

namespace {

constexpr int kLineBufferSize = 2048;

bool isSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

void stripTrailingSpace(std::string& text) {
  while (!text.empty() && isSpace(text.back())) {
    text.pop_back();
  }
}

void flush(std::string& option, std::vector<std::string>& options) {
  if (!option.empty()) {
    options.push_back(option);
  }
  option.clear();
}

}  // namespace

std::vector<std::string> zelReadJvmOptions(std::FILE* file) {
  std::vector<std::string> options;
  std::string option = "-Djava.class.path=";
  char buffer[kLineBufferSize];
  while (std::fgets(buffer, sizeof(buffer), file) != nullptr) {
    const char* line = buffer;
    while (isSpace(*line)) {
      ++line;
    }
    if (*line == '\0' || *line == '#') {
      flush(option, options);
      continue;
    }
    option += line;
    stripTrailingSpace(option);
    if (option.back() == '\\') {
      option.pop_back();
    } else {
      flush(option, options);
    }
  }
  flush(option, options);
  return options;
}
