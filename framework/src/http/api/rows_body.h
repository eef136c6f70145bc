#pragma once

#include <cstdint>
#include <string>

#include "engine/reports.h"
#include "http/api/table_body.h"

namespace fw::http {

/// Writes the answer to a report as JSON; docs/formats/rest-api.md shows the format.
class RowsBody final : public TableBody {
 public:
  /// `result` has no error; `limit` is what was asked for.
  RowsBody(ReportResult result, std::uint32_t limit);

 private:
  void appendHead(std::string& out) const override;
  void appendItem(std::string& out, std::size_t index) const override;

  const ReportResult result_;
  const std::uint32_t limit_;
};

}  // namespace fw::http
