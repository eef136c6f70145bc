#include "http/api/rows_body.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "http/json/json_text.h"

namespace fw::http {

namespace {

const char* toText(ReportSample::State state) {
  switch (state) {
    case ReportSample::State::Fresh:
      return "fresh";
    case ReportSample::State::Stale:
      return "stale";
    case ReportSample::State::Failed:
      break;
  }
  return "failed";
}

nlohmann::ordered_json toJson(const ReportSample& sample) {
  const bool sampled = sample.state != ReportSample::State::Failed;
  nlohmann::ordered_json json = {{"subnode", nullptr}, {"state", toText(sample.state)}};
  if (!sample.subnode.empty()) {
    json["subnode"] = sample.subnode;
  }
  json["stale"] = sample.state == ReportSample::State::Stale;
  json["age_ms"] = nullptr;
  json["taken_at"] = nullptr;
  if (sampled) {
    json["age_ms"] = sample.age.count();
    json["taken_at"] = toRfc3339(sample.takenAt);
  }
  json["duration_ms"] = sample.duration.count();
  json["rows_lost"] = sample.rowsLost;
  json["error"] = nullptr;
  if (!sample.error.empty()) {
    json["error"] = sample.error;
  }
  return json;
}

}  // namespace

RowsBody::RowsBody(ReportResult result, std::uint32_t limit)
    : result_(std::move(result)), limit_(limit), rowJson_(*result_.table) {}

bool RowsBody::next(std::string& out) {
  if (ended_) {
    return false;
  }
  if (!std::exchange(begun_, true)) {
    appendHead(out);
  }
  const std::size_t before = out.size();
  while (nextRow_ < result_.rows.size()) {
    if (out.size() - before > kPieceSize) {
      return true;
    }
    out += nextRow_ == 0 ? "\n" : ",\n";
    appendRow(out, result_.rows[nextRow_++]);
  }
  out += "\n]}\n";
  ended_ = true;
  return true;
}

bool RowsBody::isSmall() const {
  return result_.rows.size() * result_.table->rowSize <= kSmallContent;
}

void RowsBody::appendHead(std::string& out) const {
  out += "{\"table\":";
  appendJsonString(out, result_.table->name);
  out += ",\"columns\":";
  appendColumns(out, *result_.table);
  nlohmann::ordered_json json;
  nlohmann::ordered_json& samples = json["samples"] = nlohmann::ordered_json::array();
  for (const ReportSample& sample : result_.samples) {
    samples.push_back(toJson(sample));
  }
  json["matched"] = result_.matched;
  json["returned"] = result_.rows.size();
  json["limit"] = limit_;
  json["truncated"] = result_.matched > result_.rows.size();
  const std::size_t begin = out.size();
  out += json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  out[begin] = ',';  // was the object's begin
  out.back() = ',';  // was its end
  out += "\"rows\":[";
}

void RowsBody::appendRow(std::string& out, const ReportRow& row) const {
  out += "{\"sample\":";
  appendJsonNumber(out, row.sample);
  out += ",\"values\":";
  rowJson_.append(out, *result_.table, row.bytes);
  out += '}';
}

}  // namespace fw::http
