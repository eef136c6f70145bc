#pragma once

#include <cstdio>
#include <string>
#include <vector>

/// Reads JVM options, one per logical line, passed on unchanged; the first one is the class path.
///
/// A backslash at the end of a line continues it, less the leading blanks of the next one. Comment
/// lines ("#") and blank lines end a logical line, even before the first: a file that begins with
/// one has an empty class path. In a longer physical line, every 2047 characters count as a line.
std::vector<std::string> zelReadJvmOptions(std::FILE* file);
