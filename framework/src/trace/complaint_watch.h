#pragma once

#include <string>
#include <string_view>

#include "agentfw/ras1.h"

namespace fw::trace {

/// Listens to what its thread traces as an error or a warning, for as long as it lives.
///
/// For callbacks that have no result: what the agent writes to the trace is all that it says about
/// a failure. Records of the Java application are left out: they may be about anything. Watches on
/// one thread nest; the innermost listens.
class ComplaintWatch {
 public:
  ComplaintWatch();
  ~ComplaintWatch();
  ComplaintWatch(const ComplaintWatch&) = delete;
  ComplaintWatch& operator=(const ComplaintWatch&) = delete;

  bool heardAny() const { return !error_.empty() || !warning_.empty(); }

  /// The last error, or else the last warning, for people: without "ERROR:", and without the
  /// headline of a text that has one. Valid UTF-8, cut where it is very long.
  std::string lastForPeople() const;

  /// Takes a record of the calling thread.
  static void hear(const RAS1_Entry& entry, std::string_view text);

 private:
  ComplaintWatch* const outer_;
  std::string error_;
  std::string warning_;
};

}  // namespace fw::trace
