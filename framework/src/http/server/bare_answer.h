#pragma once

#include "http/server/problem.h"

namespace fw::http {

/// Sends a problem on a connection past the HTTP library, which is about to refuse the request and
/// to close the connection, and lets nothing of the library follow. The answer of the library to a
/// header that it can't take has its head twice (0.9.75).
void sendBareAnswer(int socket, const Problem& problem, const std::string& target);

/// The problem behind a status with which the library refuses a header.
Problem bareProblem(unsigned status);

}  // namespace fw::http
