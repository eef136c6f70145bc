#pragma once

#include <functional>
#include <stdexcept>
#include <vector>

#include "bridge/zelexc.h"

namespace fake {

/// An exception and what the library traces when it stops it.
struct Failure {
  std::function<void()> raise;
  const char* text;
};

/// The kinds that are reported and survived.
inline const std::vector<Failure>& failures() {
  static const std::vector<Failure>& all = *new std::vector<Failure>{
      {[] {
         throw ZelAppException{3, "refused"};
       },
       "ERROR: request processing failed ...\nrefused"},
      {[] { throw ZelException("file.cpp", 12, 1); },
       "ERROR: internal exception in file.cpp at line 12"},
      {[] { throw std::runtime_error("bad"); }, "ERROR: STD C++ library exception 'bad'"},
  };
  return all;
}

/// An exception of a kind that nobody knows: it ends the process.
inline void raiseUnknown() { throw 5; }

}  // namespace fake
