#pragma once

#include <cstdint>
#include <string>

#include "agentfw/flt1.h"
#include "agentfw/vuira.h"

/// One column of a table: its name and where its value lies inside a binary row.
class ZelColumnInfo {
 public:
  ZelColumnInfo();  ///< an empty character column
  ZelColumnInfo(const std::string& columnName, IntfDtype type, int columnSize, int columnOffset);
  ~ZelColumnInfo();

  std::int32_t size;    ///< bytes of the value
  std::int32_t offset;  ///< bytes from the start of the row
  IntfDtype dataType;   ///< may be a value that the enumeration does not name
  std::string name;
};

/// One filter condition of the framework, with its value as text. A copy: the framework's record
/// may be gone.
class ZelFilterInfo {
 public:
  ZelFilterInfo();

  /// Converts a record. A value of an unsupported type, or one that can't be converted, becomes
  /// empty; traced.
  explicit ZelFilterInfo(const FLT1_FILTERINFO& filter);
  ~ZelFilterInfo();

  ZelFilterInfo(const ZelFilterInfo&) = default;
  ZelFilterInfo& operator=(const ZelFilterInfo&) = default;

  std::string m_column;  ///< the column; PARMA$TEXT for a parameter that carries a text
  std::string m_value;
  std::int32_t m_oper;  ///< compare operator; unset by the default constructor
};
