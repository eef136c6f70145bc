#include "config/schema.h"

#include <chrono>
#include <utility>

// A setting is one line here and one member in AgentConfig. Its default is the member's; the page
// docs/formats/agent-yaml.md is generated from this table (target agent_yaml_page).

// Returns the member that a setting sets.
#define MEMBER(name) \
  [](AgentConfig & config) -> auto& { return config.name; }

namespace fw {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kKiB = 1ULL << 10U;
constexpr std::uint64_t kMiB = 1ULL << 20U;
constexpr std::uint64_t kGiB = 1ULL << 30U;

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isCapital(char c) { return c >= 'A' && c <= 'Z'; }
bool isLetter(char c) { return isCapital(c) || (c >= 'a' && c <= 'z'); }
bool isCodeChar(char c) { return isCapital(c) || isDigit(c); }
bool isHostChar(char c) { return isLetter(c) || isDigit(c) || c == '.' || c == '-'; }
bool isVersionChar(char c) { return isInstanceChar(c) || c == '.'; }

TextRule codeRule() { return {"three capital letters or digits, as in ZJX", 3, 3, isCodeChar}; }
TextRule instanceRule() {
  return {"1 to 12 letters, digits, \"_\" or \"-\"", 1, kMaxInstance, isInstanceChar};
}
TextRule hostRule() { return {"a host name of at most 64 characters", 0, 64, isHostChar}; }
TextRule versionRule() {
  return {"1 to 15 letters, digits, \".\", \"_\" or \"-\"", 1, 15, isVersionChar};
}
TextRule nameRule() { return {"text of 1 to 64 bytes", 1, 64, nullptr}; }
TextRule pathRule() { return {"a file path", 1, 4000, nullptr}; }

Setting required(Setting setting) {
  setting.required = true;
  return setting;
}

void addIdentity(std::vector<Setting>& all) {
  all.push_back(required(text("product.code", MEMBER(product.code), codeRule(),
                              "Code of the product. Its last two characters are the short code.")));
  all.push_back(required(text("product.name", MEMBER(product.name), nameRule(),
                              "Name of the product, as shown to people.")));
  all.push_back(text("product.version", MEMBER(product.version), versionRule(),
                     "Version of the product; without it, that of the framework."));
  all.push_back(text("instance", MEMBER(instance), instanceRule(),
                     "Distinguishes agents on one machine: the first part of the agent's node "
                     "name, and part of the names of its Java virtual machine's logs. Without it, "
                     "the name of the product home's folder, shortened if necessary."));
  all.push_back(text("host", MEMBER(host), hostRule(),
                     "Host name in the agent's node name; without it, the machine's."));
  all.push_back(variables("environment", MEMBER(environment),
                          "Environment variables for the agent. A variable that is set in the "
                          "process's own environment keeps that value."));
}

void addHttp(std::vector<Setting>& all) {
  all.push_back(integer("http.port", MEMBER(http.port), 0, 65535,
                        "Port on 127.0.0.1. 0 takes any free port."));
  all.push_back(
      integer("http.max_connections", MEMBER(http.maxConnections), 1, 10'000,
              "Connections at a time; one more takes the place of an idle one, or is closed "
              "if there is none."));
  all.push_back(integer("http.max_connections_per_address", MEMBER(http.maxConnectionsPerAddress),
                        1, 10'000, "Connections from one address at a time."));
  all.push_back(size("http.connection_memory", MEMBER(http.connectionMemory), 4 * kKiB, kMiB,
                     "Memory for the request line and headers; longer ones are refused."));
  all.push_back(size("http.body_limit", MEMBER(http.bodyLimit), 0, 64 * kMiB,
                     "Content of a request; a longer one is refused."));
  all.push_back(duration("http.idle_timeout", MEMBER(http.idleTimeout), 1s, 1h,
                         "A connection on which nothing happens for this long is closed."));
  all.push_back(
      duration("http.request_deadline", MEMBER(http.requestDeadline), 100ms, 10min,
               "A request that has not fully arrived after this long is cut off; so is one "
               "whose headers have not arrived after 5 s."));
  all.push_back(integer("http.stream_limit", MEMBER(http.streamLimit), 0, 1'000,
                        "Live streams at a time; more are refused."));
}

void addEngine(std::vector<Setting>& all) {
  all.push_back(duration(
      "engine.report_deadline", MEMBER(engine.reportDeadline), 10ms, 10min,
      "How long a report waits for a collector; then it gets the last good rows, marked stale."));
  all.push_back(duration("engine.stuck_after", MEMBER(engine.stuckAfter), 10ms, 1h,
                         "A collector that has not returned after this long is reported as stuck, "
                         "and another worker takes its place."));
  all.push_back(duration("engine.coalesce_age", MEMBER(engine.coalesceAge), 0ms, 1h,
                         "Reports share a sample that is no older than this."));
  all.push_back(
      duration("engine.drain_bound", MEMBER(engine.drainBound), 0ms, 1min,
               "How long to wait for collectors that are running when the agent stops; the whole "
               "stop takes at most ZEL_STOP_LIMIT seconds (20)."));
  all.push_back(duration("engine.subnode_wait", MEMBER(engine.subnodeWait), 0ms, 10min,
                         "An agent with tables that have rows per subnode is ready when its first "
                         "subnode is registered, or after this long."));
  all.push_back(integer("engine.sample_workers", MEMBER(engine.sampleWorkers), 1, 256,
                        "Collectors that run at a time, as long as none is slow."));
  all.push_back(integer("engine.stuck_workers", MEMBER(engine.stuckWorkers), 0, 1'000,
                        "Workers that may be added while work waits for more than 50 ms, or while "
                        "others are stuck."));
  all.push_back(integer("engine.row_limit", MEMBER(engine.rowLimit), 1, 10'000'000,
                        "Rows of one sample; more are counted but left out."));
  all.push_back(integer("engine.queue_limit", MEMBER(engine.queueLimit), 1, 1'000'000,
                        "Collectors that wait for a worker; more are refused."));
  all.push_back(integer("engine.report_limit", MEMBER(engine.reportLimit), 1, 100'000,
                        "Reports in progress at a time; more are refused."));
  all.push_back(integer("engine.table_limit", MEMBER(engine.tableLimit), 1, 100'000,
                        "Tables of the agent; more are refused."));
  all.push_back(integer("engine.column_limit", MEMBER(engine.columnLimit), 1, 10'000,
                        "Columns of one table; a table with more is refused."));
  all.push_back(integer("engine.subnode_limit", MEMBER(engine.subnodeLimit), 0, 1'000'000,
                        "Subnodes registered at a time; more are refused."));
}

void addActions(std::vector<Setting>& all) {
  all.push_back(
      integer("actions.workers", MEMBER(actions.workers), 1, 100, "Commands that run at a time."));
  all.push_back(integer("actions.queue_limit", MEMBER(actions.queueLimit), 1, 10'000,
                        "Commands that wait to be run; more are refused."));
  all.push_back(duration("actions.deadline", MEMBER(actions.deadline), 10ms, 1h,
                         "A command that has not ended after this long is reported as late, and "
                         "another worker takes its place; one that has not begun is not run."));
  all.push_back(integer("actions.keep", MEMBER(actions.keep), 0, 10'000,
                        "Commands that are still listed after they have ended."));
}

void addEvents(std::vector<Setting>& all) {
  all.push_back(boolean("events.subscribe", MEMBER(events.subscribe),
                        "Whether the agent listens to every event table. Otherwise events are "
                        "received only while a situation watches their table, and none are kept."));
  all.push_back(integer("events.keep", MEMBER(events.keep), 1, 1'000'000,
                        "Events kept for one table, the newest."));
  all.push_back(size("events.keep_bytes", MEMBER(events.keepBytes), 64 * kKiB, kGiB,
                     "Memory for the events kept for one table."));
  all.push_back(size("events.queue_bytes", MEMBER(events.queueBytes), 64 * kKiB, kGiB,
                     "Memory for the events of one subscription that are waiting to be handled; "
                     "more are counted and dropped."));
  all.push_back(integer(
      "events.journal", MEMBER(events.journal), 1, 1'000'000,
      "Entries kept in the journal: events, subnodes that come and go, situations and actions."));
  all.push_back(size("events.journal_bytes", MEMBER(events.journalBytes), 64 * kKiB, kGiB,
                     "Memory for the entries kept in the journal."));
}

void addSituations(std::vector<Setting>& all) {
  all.push_back(integer("situations.limit", MEMBER(situations.limit), 0, 10'000,
                        "Situations watched at a time; more are refused."));
}

void addServices(std::vector<Setting>& all) {
  all.push_back(integer("services.workers", MEMBER(services.workers), 1, 256,
                        "Requests to the agent's web services answered at a time."));
  all.push_back(integer("services.queue_limit", MEMBER(services.queueLimit), 1, 100'000,
                        "Requests that wait for a worker; more are refused."));
  all.push_back(duration("services.deadline", MEMBER(services.deadline), 10ms, 10min,
                         "A request that has no answer after this long gets 504."));
  all.push_back(size("services.response_limit", MEMBER(services.responseLimit), kKiB, kGiB,
                     "Content of a service's answer; a longer one is refused."));
}

void addTrace(std::vector<Setting>& all) {
  all.push_back(
      traceClasses("trace.default", MEMBER(trace.defaultMask),
                   "What a unit traces unless `trace.units` says otherwise. Errors and "
                   "warnings, and the agent's start and stop, are always traced; but each place "
                   "in the source writes equal errors and warnings only once a minute (later, "
                   "once in up to 16 minutes), different ones up to 32 KiB, and counts the rest."));
  all.push_back(traceUnits(
      "trace.units", MEMBER(trace.units),
      "Trace classes of individual units, as in `ZELIRA: [detail, flow]`. A unit's name may be "
      "replaced by `file:` and a source file, or `component:` and a component. `*` and `?` are "
      "wildcards. If several lines match a unit, the last one applies."));
  all.push_back(text("trace.file", MEMBER(trace.file), pathRule(),
                     "The trace file; a relative path starts at the product home. Without it, "
                     "`../../logs/agent.log` if the home's folder is called jmx, otherwise "
                     "`../../logs/agent-NAME.log` with the folder's name. It must be a regular "
                     "file owned by the agent's user, or not exist yet."));
  all.push_back(size("trace.max_size", MEMBER(trace.maxSize), 64 * kKiB, 4 * kGiB,
                     "A file that reaches this size is renamed and a new one begun."));
  all.push_back(integer("trace.files", MEMBER(trace.files), 1, 1'000,
                        "Trace files to keep, including the one being written."));
  all.push_back(size("trace.record_limit", MEMBER(trace.recordLimit), kKiB, 16 * kMiB,
                     "Text of one record; the rest is cut, with a note."));
  all.push_back(boolean("trace.stderr", MEMBER(trace.toStderr),
                        "Whether records also go to standard error."));
}

}  // namespace

const std::vector<Setting>& configSchema() {
  static const std::vector<Setting> schema = [] {
    std::vector<Setting> all;
    addIdentity(all);
    addHttp(all);
    addEngine(all);
    addActions(all);
    addEvents(all);
    addSituations(all);
    addServices(all);
    addTrace(all);
    return all;
  }();
  return schema;
}

}  // namespace fw
