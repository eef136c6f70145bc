#pragma once

#include <string>

/// A failure of the Java application, or one reported on its behalf. Usually stored on the request
/// that failed, not thrown.
struct ZelAppException {
  static constexpr int kCritical = 1;  ///< ends the agent
  static constexpr int kNoAnswer = 2;  ///< the bridge got no answer it could read
  static constexpr int kOrdinary = 3;  ///< the request failed, the agent continues

  int severity;
  std::string message;
};

/// An internal failure of the native side: our bug, or a broken protocol. Thrown by value. It names
/// the place; a text, where there is one, has been traced by the one who throws.
struct ZelException {
  ZelException(const char* sourceFile, unsigned int sourceLine, int errorCode)
      : line(sourceLine), code(errorCode), file(sourceFile) {}

  unsigned int line;
  int code;
  std::string file;
};

/// Throws a ZelException that names this place.
#define ZEL_THROW() throw ZelException(__FILE_NAME__, __LINE__, 1)
