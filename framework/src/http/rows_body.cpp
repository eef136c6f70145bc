#include "http/rows_body.h"

#include <nlohmann/json.hpp>
#include <utility>
#include <variant>

#include "http/json_text.h"
#include "tables/value.h"

namespace fw::http {

namespace {

constexpr std::size_t kPieceSize = 32 * 1024;   ///< bytes; a piece ends with the row that passes it
constexpr std::size_t kSmallSize = 128 * 1024;  ///< bytes of binary rows

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
    : result_(std::move(result)), limit_(limit) {
  for (const Column& column : result_.table->columns) {
    std::string key = keys_.empty() ? "" : ",";
    appendJsonString(key, column.name);
    keys_.push_back(std::move(key += ':'));
  }
}

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
  return result_.rows.size() * result_.table->rowSize <= kSmallSize;
}

void RowsBody::appendHead(std::string& out) const {
  nlohmann::ordered_json json = {{"table", result_.table->name}};
  nlohmann::ordered_json& columns = json["columns"] = nlohmann::ordered_json::array();
  for (const Column& column : result_.table->columns) {
    columns.push_back({{"name", column.name}, {"type", toString(column.type)}});
  }
  nlohmann::ordered_json& samples = json["samples"] = nlohmann::ordered_json::array();
  for (const ReportSample& sample : result_.samples) {
    samples.push_back(toJson(sample));
  }
  json["matched"] = result_.matched;
  json["returned"] = result_.rows.size();
  json["limit"] = limit_;
  json["truncated"] = result_.matched > result_.rows.size();
  out += json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  out.back() = ',';  // was the object's end
  out += "\"rows\":[";
}

void RowsBody::appendRow(std::string& out, const ReportRow& row) const {
  out += "{\"sample\":";
  appendJsonNumber(out, row.sample);
  out += ",\"values\":{";
  const std::vector<Column>& columns = result_.table->columns;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    out += keys_[i];
    const Value value = decodeValue(columns[i], row.bytes);
    if (const auto* number = std::get_if<std::int64_t>(&value)) {
      appendJsonNumber(out, *number);
    } else if (const auto* text = std::get_if<std::string>(&value)) {
      appendJsonString(out, *text);
    } else {
      out += "null";
    }
  }
  out += "}}";
}

}  // namespace fw::http
