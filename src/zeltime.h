#pragma once

#include <ctime>

/// The calendar time in seconds that the library goes by. Replace it before threads run that ask.
inline std::time_t (*zelTime)(std::time_t*) = std::time;
