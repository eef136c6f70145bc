#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agentfw/vuira.h"
#include "tables/condition.h"
#include "tables/row_sink.h"

namespace fw {

/// Why a request object exists.
enum class RequestKind { Describe, Report, Situation, History, Subscription };

}  // namespace fw

/// What a request asks for. The request object copies it.
struct RequestDetail {
  fw::RequestKind kind = fw::RequestKind::Report;
  std::string situation;                  ///< empty for a plain sample
  std::optional<std::string> definition;  ///< the request's definition text
  std::uint32_t interval = 0;             ///< seconds
  std::int32_t sampleType = 0;
  std::uint32_t requestId = 0;
  std::vector<std::string> subnodes;  ///< names as the agent registered them, byte for byte
  std::vector<fw::Filter> filters;
  fw::Predicate thresholds;
  std::uint32_t rowLimit = 0;         ///< rows of one sample or push at most; 0 takes none
  std::shared_ptr<fw::RowSink> sink;  ///< of a subscription: where pushed rows go; else null
};

/// The place that a request belongs to.
struct ContextInfo {
  std::string node;  ///< the node that a command was sent to; empty for samples
};
