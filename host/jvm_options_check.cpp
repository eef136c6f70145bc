#include "jvm_options_check.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/core.h>
#include <jni.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <optional>
#include <string_view>

namespace host {
namespace {

constexpr unsigned kChildSeconds = 5;  // then the kernel ends it
constexpr std::size_t kMostUnknown = 10;
constexpr std::size_t kMostText = 16 * 1024;
constexpr std::string_view kUnknown = "Unrecognized ";
char kLastOption[] = "-zel-last-option";

int s_answer = -1;  // in the child: where the virtual machine's words go

jint JNICALL print(std::FILE* /*stream*/, const char* format, std::va_list arguments) {
  char text[1024];
  const int size = std::vsnprintf(text, sizeof text, format, arguments);
  if (size > 0) {
    [[maybe_unused]] const ssize_t written = write(
        s_answer, text, std::min<std::size_t>(static_cast<std::size_t>(size), sizeof text - 1));
  }
  return size;
}

[[noreturn]] void offer(const std::string& library, std::vector<std::string>& texts) {
  alarm(kChildSeconds);
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  using Create = jint(JNICALL*)(JavaVM**, void**, void*);
  void* handle = dlopen(library.c_str(), RTLD_LAZY);
  const auto create =
      reinterpret_cast<Create>(handle == nullptr ? nullptr : dlsym(handle, "JNI_CreateJavaVM"));
  if (create != nullptr) {
    std::vector<JavaVMOption> options;
    options.push_back({const_cast<char*>("vfprintf"), reinterpret_cast<void*>(&print)});
    for (std::string& text : texts) {
      options.push_back({text.data(), nullptr});
    }
    options.push_back({kLastOption, nullptr});
    JavaVMInitArgs args{JNI_VERSION_1_4, static_cast<jint>(options.size()), options.data(),
                        JNI_FALSE};
    JavaVM* vm = nullptr;
    void* env = nullptr;
    create(&vm, &env, &args);
  }
  _exit(0);
}

/// What the virtual machine says of the options.
std::string answerTo(const std::string& library, std::vector<std::string>& options) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return {};
  }
  std::fflush(nullptr);  // the virtual machine may write out what the child has inherited
  const pid_t child = fork();
  if (child == 0) {
    s_answer = ends[1];
    offer(library, options);
  }
  close(ends[1]);
  std::string text;
  char part[1024];
  while (child > 0) {
    const ssize_t size = read(ends[0], part, sizeof part);
    if (size <= 0 && !(size < 0 && errno == EINTR)) {
      break;
    }
    if (size > 0 && text.size() < kMostText) {
      text.append(part, static_cast<std::size_t>(size));
    }
  }
  close(ends[0]);
  while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
  return text;
}

bool isWithoutEffect(const std::string& option) {
  constexpr std::string_view kActive[] = {"-Xlog", "-Xrun", "-agent", "-javaagent", "-D"};
  return std::none_of(std::begin(kActive), std::end(kActive),
                      [&](std::string_view start) { return option.starts_with(start); });
}

/// From "Unrecognized option: -Xmz64m" or "Unrecognized VM option 'MaxFdLimit'".
std::string_view nameIn(std::string_view complaint) {
  if (const auto quote = complaint.find('\''); quote != std::string_view::npos) {
    complaint.remove_prefix(quote + 1);
    return complaint.substr(0, complaint.rfind('\''));
  }
  const auto colon = complaint.find(": ");
  return colon == std::string_view::npos ? std::string_view() : complaint.substr(colon + 2);
}

struct Complaint {
  std::string line;
  std::string hint;  ///< "Did you mean ...?", or nothing
};

std::optional<Complaint> complaintIn(std::string_view answer) {
  while (!answer.empty()) {
    const auto end = answer.find('\n');
    const std::string_view line = answer.substr(0, end);
    answer.remove_prefix(end == std::string_view::npos ? answer.size() : end + 1);
    if (line.starts_with(kUnknown) && line.find(kLastOption) == std::string_view::npos) {
      std::string hint;
      if (answer.starts_with("Did you mean")) {
        hint = answer.substr(0, answer.find('\n'));
        hint.erase(hint.find_last_not_of(' ') + 1);
      }
      return Complaint{std::string(line), hint};
    }
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::string> unknownJvmOptions(const std::string& library,
                                           std::vector<std::string> options) {
  std::vector<std::string> unknown;
  std::erase_if(options, [](const std::string& option) { return !isWithoutEffect(option); });
  while (unknown.size() < kMostUnknown) {
    const auto complaint = complaintIn(answerTo(library, options));
    if (!complaint) {
      break;
    }
    const std::string_view name = nameIn(complaint->line);
    const auto option = std::find_if(options.begin(), options.end(), [&](const std::string& each) {
      return !name.empty() && each.ends_with(name);
    });
    if (option == options.end()) {  // it comes from elsewhere, say from _JAVA_OPTIONS
      unknown.push_back(complaint->line);
      break;
    }
    unknown.push_back(complaint->hint.empty() ? *option
                                              : fmt::format("{} ({})", *option, complaint->hint));
    options.erase(option);
  }
  return unknown;
}

}  // namespace host
