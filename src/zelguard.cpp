#include "zelguard.h"

#include <cstdlib>
#include <exception>

#include "bridge/zelexc.h"

void zelReportException(const RAS1_Entry& function) noexcept {
  const RAS1_Entry& ras1Entry = function;  // the record names the function that failed
  try {
    throw;
  } catch (const ZelAppException& e) {
    RAS1_PRINT("ERROR: request processing failed ...\n%s", e.message.c_str());
  } catch (const ZelException& e) {
    RAS1_PRINT("ERROR: internal exception in %s at line %i", e.file.c_str(),
               static_cast<int>(e.line));
  } catch (const std::exception& e) {
    RAS1_PRINT("ERROR: STD C++ library exception '%s'", e.what());
  } catch (...) {
    RAS1_PRINT("ERROR: unknown exception. Agent terminated abnormally.");
    std::exit(-1);
  }
}
