#include <fmt/format.h>

#include <algorithm>

#include "config/schema.h"

namespace fw {
namespace {

constexpr const char* kIntroduction = R"(# agent.yaml

The configuration of an agent, `config/agent.yaml` in the product home. This page is generated from
the table by which the agent reads the file (`framework/src/config/schema.cpp`); after a change
there, `cmake --build BUILD --target agent_yaml_page` regenerates it.

The file is YAML, at most 1 MiB, one document. Unknown keys, keys that are set twice, values of the
wrong kind and values out of range are errors; the agent does not start, and
`zelagent --check-config` reports them all:

```
/opt/zel/agents/jmx/config/agent.yaml:7:3: unknown key "http.prot"; did you mean "http.port"?
/opt/zel/agents/jmx/config/agent.yaml:9:16: "trace.max_size": expected a size from 64KiB to 4GiB with its unit (B, KiB, MiB, GiB), found "10"
```

Durations (`500ms`, `30s`, `5m`, `2h`) and sizes (`512B`, `64KiB`, `10MiB`, `1GiB`) are whole numbers
with a unit. Numbers are not quoted. Relative paths start at the product home.
)";

std::string sectionOf(const Setting& setting) {
  const auto dot = setting.path.find('.');
  return dot == std::string::npos ? std::string() : setting.path.substr(0, dot);
}

std::string defaultOf(const Setting& setting, AgentConfig& defaults) {
  if (setting.required) {
    return "must be set";
  }
  const std::string shown = setting.show(defaults);
  return shown.empty() ? "none" : fmt::format("`{}`", shown);
}

}  // namespace

std::string configSchemaPage() {
  AgentConfig defaults;
  std::string page = kIntroduction;
  std::vector<std::string> sections;
  for (const Setting& setting : configSchema()) {
    if (std::find(sections.begin(), sections.end(), sectionOf(setting)) == sections.end()) {
      sections.push_back(sectionOf(setting));
    }
  }
  for (const std::string& section : sections) {
    page += section.empty() ? "\n## Keys without a section\n" : fmt::format("\n## `{}`\n", section);
    page += "\n| Key | Value | Default | Meaning |\n|---|---|---|---|\n";
    for (const Setting& setting : configSchema()) {
      if (sectionOf(setting) == section) {
        page += fmt::format("| `{}` | {} | {} | {} |\n", setting.path, setting.expected,
                            defaultOf(setting, defaults), setting.doc);
      }
    }
  }
  return page;
}

}  // namespace fw
