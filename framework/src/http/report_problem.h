#pragma once

#include "engine/reports.h"
#include "http/problem.h"

namespace fw::http {

/// Tells a client why its report has no rows.
Problem toProblem(const ReportError& error);

}  // namespace fw::http
