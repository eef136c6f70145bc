#include "http/api/rows_request.h"

#include <utility>

#include "agent/agent.h"
#include "engine/reports.h"
#include "http/api/request_problem.h"
#include "http/api/rows_body.h"
#include "http/server/exchange.h"

namespace fw::http {

std::vector<ParameterRule> rowsParameters() {
  return {{.name = "subnode"}, {.name = "where"}, limitParameter()};
}

void readRows(const Call& call, std::shared_ptr<Responder> responder) {
  const Target& target = call.request.target;
  ReportRequest report;
  report.table = call.name;
  report.subnode = findParameter(target.parameters, "subnode");
  report.where = findParameter(target.parameters, "where").value_or("");
  report.limit = findLimit(target.parameters);
  const std::uint32_t limit = report.limit;
  call.agent.report(std::move(report), [responder = std::move(responder), limit,
                                        path = target.path](ReportResult result) {
    if (result.error) {
      return responder->send(problemResponse(toProblem(*result.error), path));
    }
    Response response;
    response.content = std::make_unique<RowsBody>(std::move(result), limit);
    responder->send(std::move(response));
  });
}

}  // namespace fw::http
