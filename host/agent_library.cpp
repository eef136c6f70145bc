#include "agent_library.h"

#include <dlfcn.h>
#include <fmt/core.h>

#include <filesystem>

#include "exit_codes.h"
#include "start_error.h"

namespace host {
namespace {

template <typename Function>
void bind(void* library, const char* name, Function& function) {
  void* symbol = dlsym(library, name);
  if (symbol == nullptr) {
    throw StartError(kExitFailed,
                     fmt::format("libzel.so has no {}: it is from another version", name));
  }
  function = reinterpret_cast<Function>(symbol);
}

}  // namespace

AgentLibrary AgentLibrary::load() {
  const auto program = std::filesystem::read_symlink("/proc/self/exe");
  const auto path = program.parent_path().parent_path() / "lib" / "libzel.so";
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    throw StartError(kExitFailed, fmt::format("can't load the agent library: {}\n  The folders "
                                              "bin/ and lib/ of an installation belong together.",
                                              dlerror()));
  }
  AgentLibrary agent;
  bind(library, "zelAgentStart", agent.start_);
  bind(library, "zelAgentStop", agent.stop_);
  bind(library, "zelWaitForAgentShutdown", agent.waitForShutdown_);
  return agent;
}

}  // namespace host
