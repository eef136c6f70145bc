#include "http/api/agent_json.h"

#include <utility>

#include "http/json/json_document.h"
#include "http/json/json_text.h"
#include "http/server/connection_table.h"

namespace fw::http {

namespace {

const char* toText(TableStatus::State state) {
  switch (state) {
    case TableStatus::State::Describing:
      return "describing";
    case TableStatus::State::Ready:
      return "ready";
    case TableStatus::State::Refused:
      break;
  }
  return "refused";
}

Json toJson(const LaneStatus& lane) {
  return {
      {"name", lane.name},
      {"threads", lane.threads},
      {"limit", lane.limit},
      {"busy", lane.busy},
      {"stuck", lane.stuck},
      {"queued", lane.queued},
      {"saturations", lane.saturations},
  };
}

Json toJson(const Counters& server) {
  return {
      {"connections_open", server.connectionsOpen},
      {"connections", server.connections},
      {"connections_refused", server.connectionsRefused},
      {"connections_evicted", server.connectionsEvicted},
      {"requests_open", server.requestsOpen},
      {"requests", server.requests},
      {"requests_late", server.requestsLate},
      {"streams_open", server.streamsOpen},
      {"streams", server.streams},
      {"streams_refused", server.streamsRefused},
      {"streams_cut", server.streamsCut},
  };
}

Json toJson(const SubnodeInfo& subnode) {
  return {
      {"name", subnode.name},
      {"state", subnode.state == SubnodeState::Online ? "online" : "offline"},
      {"since", toRfc3339(subnode.since)},
      {"product", subnode.product},
      {"version", subnode.version},
      {"info", subnode.info},
      {"affinities", subnode.affinities},
  };
}

/// Its members; there are more where a table is shown alone.
Json::Object toMembers(const TableStatus& table) {
  return {
      {"name", table.info->name},
      {"application", table.info->application},
      {"state", toText(table.state)},
      {"refusal", orNull(table.refusal)},
      {"per_subnode", table.info->perSubnode},
      {"columns_count", table.info->columns.size()},
      {"row_size", table.info->rowSize},
      {"sampling",
       {
           {"samples", table.samples},
           {"rows", table.rows},
           {"rows_lost", table.rowsLost},
           {"errors", table.errors},
           {"timeouts", table.timeouts},
           {"stuck", table.stuck},
           {"last_duration_ms", table.lastDuration.count()},
           {"max_duration_ms", table.maxDuration.count()},
           {"age_ms", table.age ? Json(table.age->count()) : nullptr},
       }},
  };
}

Json toJson(const TableStatus& table) { return toMembers(table); }

Json toJson(const Column& column) {
  return {
      {"name", column.name},
      {"type", toString(column.type)},
      {"size", column.size},
      {"offset", column.offset},
  };
}

constexpr auto kToJson = [](const auto& item) { return toJson(item); };

}  // namespace

const char* toText(AgentStatus::State state) {
  switch (state) {
    case AgentStatus::State::Starting:
      return "starting";
    case AgentStatus::State::Loading:
      return "loading";
    case AgentStatus::State::Ready:
      return "ready";
    case AgentStatus::State::Stopping:
      break;
  }
  return "stopping";
}

std::string agentJson(const AgentStatus& agent, const Counters& server) {
  return toDocument({
      {"name", agent.nodeName},
      {"state", toText(agent.state)},
      {"instance", agent.instance},
      {"host", agent.host},
      {"product",
       {
           {"code", agent.productCode},
           {"name", agent.productName},
           {"version", agent.productVersion},
       }},
      {"framework_version", agent.frameworkVersion},
      {"affinities", agent.affinities},
      {"started_at", toRfc3339(agent.startedAt)},
      {"uptime_ms", agent.uptime.count()},
      {"process", {{"pid", agent.pid}, {"resident_bytes", agent.residentBytes}}},
      {"reports",
       {
           {"waiting", agent.reportsWaiting},
           {"answered", agent.reports},
           {"refused", agent.reportsRefused},
       }},
      {"lanes", listOf(agent.lanes, kToJson)},
      {"http", toJson(server)},
  });
}

std::string tablesJson(const std::vector<TableStatus>& tables) {
  return toDocument({{"tables", listOf(tables, kToJson)}});
}

std::string tableJson(const TableStatus& table) {
  Json::Object members = toMembers(table);
  members.push_back({"columns", listOf(table.info->columns, kToJson)});
  return toDocument(std::move(members));
}

std::string subnodesJson(const std::vector<SubnodeInfo>& subnodes) {
  return toDocument({{"subnodes", listOf(subnodes, kToJson)}});
}

std::string subnodeLine(const SubnodeInfo& subnode, Clock::WallTime time) {
  return toLine(toJson(subnode), time);
}

}  // namespace fw::http
