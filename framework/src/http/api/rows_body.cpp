#include "http/api/rows_body.h"

#include <optional>
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

void appendSample(std::string& out, const ReportSample& sample) {
  const auto orNull = [](const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(text);
  };
  const bool sampled = sample.state != ReportSample::State::Failed;
  out += '{';
  appendJsonMember(out, "subnode", orNull(sample.subnode));
  appendJsonMember(out, "state", toText(sample.state));
  appendJsonMember(out, "stale", sample.state == ReportSample::State::Stale);
  appendJsonMember(out, "age_ms", sampled ? std::optional(sample.age.count()) : std::nullopt);
  appendJsonMember(out, "taken_at",
                   sampled ? std::optional(toRfc3339(sample.takenAt)) : std::nullopt);
  appendJsonMember(out, "duration_ms", sample.duration.count());
  appendJsonMember(out, "rows_lost", sample.rowsLost);
  appendJsonMember(out, "error", orNull(sample.error));
  out += '}';
}

}  // namespace

RowsBody::RowsBody(ReportResult result, std::uint32_t limit)
    : TableBody(result.table, "rows", result.rows.size()),
      result_(std::move(result)),
      limit_(limit) {}

void RowsBody::appendHead(std::string& out) const {
  beginJsonMember(out, "columns");
  appendColumns(out, table());
  beginJsonMember(out, "samples");
  out += '[';
  for (const ReportSample& sample : result_.samples) {
    out += &sample == &result_.samples.front() ? "" : ",";
    appendSample(out, sample);
  }
  out += ']';
  appendJsonMember(out, "matched", result_.matched);
  appendJsonMember(out, "returned", result_.rows.size());
  appendJsonMember(out, "limit", limit_);
  appendJsonMember(out, "truncated", result_.matched > result_.rows.size());
}

void RowsBody::appendItem(std::string& out, std::size_t index) const {
  const ReportRow& row = result_.rows[index];
  out += "{\"sample\":";
  appendJsonNumber(out, row.sample);
  out += ",\"values\":";
  rowJson().append(out, table(), row.bytes);
  out += '}';
}

}  // namespace fw::http
