#include "config/load.h"

#include <fmt/format.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

#include "basic/nearest.h"
#include "config/home_names.h"
#include "config/schema.h"

namespace fw {
namespace {

constexpr std::size_t kMaxFileSize = 1U << 20U;

std::string inQuotes(std::string_view text) { return fmt::format("\"{}\"", text); }

bool startsWith(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

/// Checks one file against the schema.
class FileReader {
 public:
  FileReader(const std::string& file, AgentConfig& config) : config_(config), problems_(file) {}

  void read(const YAML::Node& root) {
    root_ = root.Mark();
    if (root.IsMap()) {
      readSection(root, "");
    } else if (!root.IsNull()) {
      problems_.add(root.Mark(), "expected keys with values, found " + describeValue(root));
    }
    for (const Setting& setting : configSchema()) {
      if (setting.required && seen_.count(setting.path) == 0) {
        problems_.add(root_, fmt::format("{} is missing: expected {}", inQuotes(setting.path),
                                         setting.expected));
      }
    }
  }

  void checkTogether() {
    const EngineConfig& engine = config_.engine;
    if (engine.stuckAfter <= engine.reportDeadline) {
      const auto place = seen_.count("engine.stuck_after") != 0 ? seen_["engine.stuck_after"]
                                                                : seen_["engine.report_deadline"];
      problems_.add(place, fmt::format("\"engine.stuck_after\" ({}) must be longer than "
                                       "\"engine.report_deadline\" ({})",
                                       formatDuration(engine.stuckAfter),
                                       formatDuration(engine.reportDeadline)));
    }
  }

  Problems& problems() { return problems_; }

  std::map<std::string, std::string> places(const std::string& file) const {
    std::map<std::string, std::string> places;
    for (const auto& [path, mark] : seen_) {
      places[path] = fmt::format("{}:{}:{}", file, mark.line + 1, mark.column + 1);
    }
    return places;
  }

 private:
  void readSection(const YAML::Node& section, const std::string& prefix) {
    for (const auto& item : section) {
      const YAML::Node& key = item.first;
      if (!key.IsScalar()) {
        problems_.add(key.Mark(), "expected a key, found " + describeValue(key));
        continue;
      }
      const std::string path = prefix + key.Scalar();
      if (!seen_.emplace(path, key.Mark()).second) {
        problems_.add(key.Mark(), inQuotes(path) + " is set twice");
        continue;
      }
      readKey(key, item.second, path, prefix);
    }
  }

  void readKey(const YAML::Node& key, const YAML::Node& value, const std::string& path,
               const std::string& prefix) {
    const auto& schema = configSchema();
    const auto setting = std::find_if(schema.begin(), schema.end(),
                                      [&](const Setting& known) { return known.path == path; });
    if (setting != schema.end()) {
      if (!value.IsNull()) {
        setting->read(value, config_, problems_);
      } else if (!setting->mayBeEmpty) {
        addMismatch(*setting, key.Mark(), value, problems_);
      }
      return;
    }
    const bool isSection = std::any_of(schema.begin(), schema.end(), [&](const Setting& known) {
      return startsWith(known.path, path + ".");
    });
    if (!isSection) {
      problems_.add(key.Mark(), unknownKey(key.Scalar(), prefix));
    } else if (value.IsMap()) {
      readSection(value, path + ".");
    } else if (!value.IsNull()) {  // a section may be empty
      problems_.add(
          value.Mark(),
          fmt::format("{}: expected a section with keys such as {}, found {}", inQuotes(path),
                      inQuotes(keysOf(path + ".").front()), describeValue(value)));
    }
  }

  static std::vector<std::string> keysOf(const std::string& prefix) {
    std::vector<std::string> keys;
    for (const Setting& setting : configSchema()) {
      if (startsWith(setting.path, prefix)) {
        const std::string rest = setting.path.substr(prefix.size());
        const std::string key = rest.substr(0, rest.find('.'));
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
          keys.push_back(key);
        }
      }
    }
    return keys;
  }

  static std::string unknownKey(const std::string& key, const std::string& prefix) {
    std::string text = fmt::format("unknown key {}", inQuotes(prefix + key));
    const auto siblings = keysOf(prefix);
    if (const std::string nearest = nearestOf(key, siblings); !nearest.empty()) {
      return text + fmt::format("; did you mean {}?", inQuotes(prefix + nearest));
    }
    for (const Setting& setting : configSchema()) {  // the right key in the wrong place
      if (setting.path.substr(setting.path.rfind('.') + 1) == key) {
        return text + fmt::format("; did you mean {}?", inQuotes(setting.path));
      }
    }
    text += prefix.empty() ? "; the keys here are " : "; its section has the keys ";
    for (std::size_t i = 0; i < siblings.size(); ++i) {
      text += (i == 0 ? "" : ", ") + siblings[i];
    }
    return text;
  }

  AgentConfig& config_;
  Problems problems_;
  YAML::Mark root_;
  std::map<std::string, YAML::Mark> seen_;
};

/// Finds the documents of a text, without their contents.
class DocumentStarts : public YAML::EventHandler {
 public:
  void OnDocumentStart(const YAML::Mark& mark) override { last = mark; }
  void OnDocumentEnd() override {}
  void OnNull(const YAML::Mark& /*mark*/, YAML::anchor_t /*anchor*/) override {}
  void OnAlias(const YAML::Mark& /*mark*/, YAML::anchor_t /*anchor*/) override {}
  void OnScalar(const YAML::Mark& /*mark*/, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                const std::string& /*value*/) override {}
  void OnSequenceStart(const YAML::Mark& /*mark*/, const std::string& /*tag*/,
                       YAML::anchor_t /*anchor*/, YAML::EmitterStyle::value /*style*/) override {}
  void OnSequenceEnd() override {}
  void OnMapStart(const YAML::Mark& /*mark*/, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                  YAML::EmitterStyle::value /*style*/) override {}
  void OnMapEnd() override {}

  YAML::Mark last;
};

/// Where a second document starts, if there is one. Never asks for more than two: at a stray ","
/// the parser finds documents endlessly.
std::optional<YAML::Mark> secondDocument(const std::string& text) {
  std::istringstream stream(text);
  YAML::Parser parser(stream);
  DocumentStarts starts;
  if (parser.HandleNextDocument(starts) && parser.HandleNextDocument(starts)) {
    return starts.last;
  }
  return std::nullopt;
}

std::string readFile(const std::string& file, std::string& error) {
  errno = 0;
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  if (!in || !std::filesystem::is_regular_file(file) || !(text << in.rdbuf())) {
    error = errno == 0 ? "it is empty or not a file" : std::strerror(errno);
  } else if (text.str().size() > kMaxFileSize) {
    error = "it is larger than 1MiB";
  }
  return text.str();
}

std::string absoluteFrom(const std::string& home, const std::string& path) {
  return (std::filesystem::path(home) / path).lexically_normal().string();
}

void nameAfterHome(AgentConfig& config, const std::string& folder) {
  if (config.instance.empty()) {
    config.instance = instanceOfHome(folder);
  }
  if (config.trace.file.empty()) {
    config.trace.file = traceFileOfHome(folder);
  }
}

}  // namespace

std::string LoadedConfig::placeOf(const std::string& key, const std::string& file) const {
  const auto place = places.find(key);
  return place == places.end() ? file + ":1:1" : place->second;
}

std::string configFileOf(const std::string& home) {
  return (std::filesystem::path(home) / "config" / "agent.yaml").string();
}

LoadedConfig parseConfig(const std::string& text, const std::string& file) {
  LoadedConfig loaded;
  FileReader reader(file, loaded.config);
  try {
    const YAML::Node document = YAML::Load(text);
    if (const auto second = secondDocument(text)) {
      reader.problems().add(*second, "expected one document, found another after it");
    }
    reader.read(document);
    reader.checkTogether();
  } catch (const YAML::Exception& error) {
    reader.problems().add(error.mark, "not valid YAML: " + error.msg);
  }
  loaded.errors = reader.problems().text();
  loaded.places = reader.places(file);
  return loaded;
}

LoadedConfig loadConfig(const std::string& home) {
  std::error_code failed;
  const std::filesystem::path absolute = std::filesystem::canonical(home, failed);
  if (failed) {
    return {{}, fmt::format("{}: the home can't be used. {}", home, failed.message()), {}};
  }
  const std::string file = configFileOf(absolute.string());
  std::string error;
  const std::string text = readFile(file, error);
  if (!error.empty()) {
    return {{}, fmt::format("{}:1:1: the configuration can't be read. {}", file, error), {}};
  }
  LoadedConfig loaded = parseConfig(text, file);
  loaded.config.home = absolute.string();
  nameAfterHome(loaded.config, absolute.filename().string());
  loaded.config.trace.file = absoluteFrom(loaded.config.home, loaded.config.trace.file);
  return loaded;
}

}  // namespace fw
