#include "zelguard.h"

#include <cstdlib>
#include <exception>

#include "bridge/zelexc.h"

void zelReportException(const RAS1_Entry& function) noexcept {
  // The records name the function that failed, not this one.
  const std::uint32_t line = function.line;
  try {
    throw;
  } catch (const ZelAppException& e) {
    RAS1_Printf(&function, line, "ERROR: request processing failed ...\n%s", e.message.c_str());
  } catch (const ZelException& e) {
    RAS1_Printf(&function, line, "ERROR: internal exception in %s at line %i", e.file.c_str(),
                static_cast<int>(e.line));
  } catch (const std::exception& e) {
    RAS1_Printf(&function, line, "ERROR: STD C++ library exception '%s'", e.what());
  } catch (...) {
    RAS1_Printf(&function, line, "ERROR: unknown exception. Agent terminated abnormally.");
    std::exit(-1);
  }
}
