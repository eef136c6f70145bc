#include <fmt/format.h>

#include <exception>
#include <filesystem>
#include <map>
#include <utility>

#include "agentfw/host.h"
#include "agentfw/ras1.h"
#include "basic/environment.h"
#include "basic/host_link.h"
#include "config/active_config.h"
#include "config/load.h"
#include "trace/trace.h"

RAS1_UNIT("FWHOST");

namespace agentfw::host {
namespace {

std::map<std::string, std::string> agentEnvironment(const fw::AgentConfig& config) {
  auto variables = config.environment;
  variables["ZEL_PROD"] = config.product.code;
  variables["ZEL_INST"] = config.instance;
  variables["ZEL_PROD_HOME"] = config.home;
  return variables;
}

std::string openTrace(const fw::LoadedConfig& loaded) {
  const std::string error = fw::trace::Trace::instance().configure(loaded.config.trace);
  if (!error.empty()) {
    return fmt::format("{}: \"trace.file\": the trace can't be opened. {}",
                       loaded.placeOf("trace.file", fw::configFileOf(loaded.config.home)), error);
  }
  fw::HostLink::instance().addFlusher([](std::chrono::milliseconds bound) {
    // Nobody is left to tell when the bound was too short.
    static_cast<void>(fw::trace::Trace::instance().flush(bound));
  });
  return {};
}

}  // namespace

std::string checkConfig(const std::string& home) {
  try {
    return fw::loadConfig(home).errors;
  } catch (const std::exception& error) {
    return fmt::format("{}: the configuration can't be checked. {}", home, error.what());
  }
}

std::string configure(const Settings& settings) {
  RAS1_FUNCTION();
  try {
    if (fw::activeConfig() != nullptr) {
      return "the configuration has already been read";
    }
    fw::LoadedConfig loaded = fw::loadConfig(settings.home);
    if (!loaded.errors.empty()) {
      return loaded.errors;
    }
    if (std::string error = openTrace(loaded); !error.empty()) {
      return error;
    }
    fw::AgentConfig& config = loaded.config;
    config.http.port = settings.port.value_or(config.http.port);
    fw::Environment::instance().setConfigured(agentEnvironment(config));
    RAS1_PRINT("Configured: home=<%s> product=<%s> instance=<%s> version=<%s>", config.home.c_str(),
               config.product.code.c_str(), config.instance.c_str(), ras1BuildInfo.version);
    fw::activateConfig(std::move(config));
    return {};
  } catch (const std::exception& error) {
    return fmt::format("{}: the configuration can't be read. {}", settings.home, error.what());
  }
}

void setDefaultEnv(const std::string& name, const std::string& value) {
  fw::Environment::instance().setDefault(name, value);
}

void setCallGuard(CallGuard& guard) { fw::HostLink::instance().setCallGuard(guard); }

void onReady(std::function<void(std::uint16_t port)> notice) {
  fw::HostLink::instance().onReady(std::move(notice));
}

void onMainLoopEntered(std::function<void()> notice) {
  fw::HostLink::instance().onMainLoopEntered(std::move(notice));
}

std::string failure() { return fw::HostLink::instance().failure(); }

// The trace has something to write even when it was never configured, so it does not count on its
// flusher.
void flush(std::chrono::milliseconds bound) noexcept {
  if (fw::activeConfig() == nullptr) {
    static_cast<void>(fw::trace::Trace::instance().flush(bound));
    return;
  }
  fw::HostLink::instance().flush(bound);
}

}  // namespace agentfw::host
