#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bridge/zelcoll.h"
#include "zelfinfo.h"

/// @file
/// What the bodies of sample and situation requests, of their replies and of pushed rows have in
/// common.

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
