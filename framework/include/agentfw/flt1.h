#pragma once

#include <cstdint>

/// Type codes of a filter's value or extended data.
enum FLT1_DataType : std::int32_t {
  kFlt1UInt16 = 2,
  kFlt1UInt8 = 3,
  kFlt1Word = 4,
  kFlt1LongWord = 5,
  kFlt1ULongWord = 6,
  kFlt1CharVarying = 384,
  kFlt1CharVaryingNull = 388,
  kFlt1Text = 448,  ///< characters of the agent's code page, `dataSize` bytes
  kFlt1TextFixed = 452,
  kFlt1TextLong = 456,
  kFlt1TextTerminated = 460,
  kFlt1Float = 480,
  kFlt1Double = 484,
  kFlt1Int32 = 496,
  kFlt1Int16 = 500,
  kFlt1DoubleExtended = 1000,
  kFlt1SizedInt = 1004,  ///< width by `dataSize`: 1, 2 or 4
  kFlt1ULong = 1006,
  kFlt1SizedIntNull = 1008,  ///< as kFlt1SizedInt
  kFlt1Utf8 = 1018,
  kFlt1Utf8Null = 1022,
};

/// Record version that carries extended data.
inline constexpr std::int16_t kFlt1Version3 = 300;

/// One condition that the framework hands over with a request. The record and what it points to
/// belong to the framework and live until the next GetFilterInfo on the same request object.
struct FLT1_FILTERINFO {
  std::int16_t version;
  std::int16_t logicalOperator;
  std::int16_t compareOperator;  ///< 0: none was given
  const char* columnName;        ///< zero-terminated
  std::int32_t dataType;         ///< FLT1_DataType
  std::int16_t dataSize;         ///< bytes
  const void* value;             ///< `dataSize` bytes, native byte order
  std::int16_t extendedLength;   ///< version 300 only
  const void* extendedData;      ///< version 300 only
  std::int32_t extendedType;     ///< FLT1_DataType; version 300 only
};
