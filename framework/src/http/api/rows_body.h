#pragma once

#include <cstdint>
#include <string>

#include "engine/reports.h"
#include "http/api/row_json.h"
#include "http/server/response.h"

namespace fw::http {

/// Writes the answer to a report as JSON, some rows at a time, so that a large one takes neither
/// much memory nor an HTTP thread for long. docs/formats/rest-api.md shows the format.
class RowsBody final : public BodySource {
 public:
  /// `result` has no error; `limit` is what was asked for.
  RowsBody(ReportResult result, std::uint32_t limit);

  bool next(std::string& out) override;
  bool isSmall() const override;

 private:
  void appendHead(std::string& out) const;
  void appendRow(std::string& out, const ReportRow& row) const;

  const ReportResult result_;
  const std::uint32_t limit_;
  const RowJson rowJson_;
  std::size_t nextRow_ = 0;
  bool begun_ = false;
  bool ended_ = false;
};

}  // namespace fw::http
