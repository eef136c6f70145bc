#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bridge/zelcoll.h"
#include "zelfinfo.h"

/// @file
/// What the bodies of sample and situation requests, of their replies and of pushed rows have in
/// common.

/// Keys of the request bodies.
namespace ZelSampleKey {
inline constexpr int kTable = 0;
inline constexpr int kFilters = 1;
inline constexpr int kSubnodes = 5;
inline constexpr int kHistory = 6;
inline constexpr int kAutomation = 7;
inline constexpr int kSituation = 8;
inline constexpr int kInterval = 9;  ///< seconds; situations only
inline constexpr int kStart = 10;    ///< situations only
}  // namespace ZelSampleKey

/// Keys of one filter description.
namespace ZelFilterKey {
inline constexpr int kColumn = 2;
inline constexpr int kValue = 3;
inline constexpr int kOperator = 11;  ///< situations only: samples are filtered again here
}  // namespace ZelFilterKey

/// Keys of the replies.
namespace ZelSampleReplyKey {
inline constexpr int kRows = 4;
inline constexpr int kCacheInterval = 10;  ///< seconds; samples only
}  // namespace ZelSampleReplyKey

/// What a request is about.
struct ZelSampleScope {
  const char* table;
  const std::vector<ZelFilterInfo>& filters;
  const std::vector<std::string>& subnodes;
  bool history;
  bool automation;
  const char* situation;  ///< empty for a plain sample
};

/// The body with the keys that both requests have.
std::unique_ptr<ZelMap> zelSampleBody(const ZelSampleScope& scope, bool withOperators);

/// Appends a copy of each row, a byte array. Throws ZelException for a null one and std::bad_cast
/// for one of another kind.
void zelReadRows(const ZelList& list, std::vector<std::string>& rows);
