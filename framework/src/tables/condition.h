#pragma once

#include <compare>
#include <string>
#include <vector>

#include "agentfw/vuira.h"
#include "tables/column.h"
#include "tables/value.h"

namespace fw {

/// Whether values that compare as `order` satisfy the operator. Its low 12 bits count; an unknown
/// operator is never satisfied.
bool satisfies(std::int32_t oper, std::strong_ordering order);

/// Compares a column of a row with a value: "COLUMN OP VALUE". Numbers compare as numbers, texts
/// by code point without their padding. A cell without a value satisfies no condition, not even
/// "differs", because nothing is known about it.
class Condition {
 public:
  /// `value` has the column's kind and fits into it.
  Condition(Column column, _IntfOper oper, Value value);

  const Column& column() const { return column_; }
  _IntfOper oper() const { return oper_; }
  const Value& value() const { return value_; }

  /// The value in the column's binary form, followed by zeros up to the column's size + 1.
  const std::string& threshold() const { return threshold_; }

  /// Whether the row's cell has a value.
  bool hasValue(const char* row) const;

  bool holds(const char* row) const;

 private:
  Column column_;
  _IntfOper oper_;
  Value value_;
  std::string threshold_;
};

/// Conditions that hold together; without any, every row passes.
using Predicate = std::vector<Condition>;

bool holds(const Predicate& predicate, const char* row);

/// Compares a number with a threshold in binary form.
bool numberSatisfies(std::int32_t oper, std::int32_t number, const char* threshold);
bool numberSatisfies(std::int32_t oper, std::int16_t number, const char* threshold);

/// A condition on its way to the agent, as a hint to collect less: "COLUMN is VALUE".
struct Filter {
  std::string column;
  FLT1_DataType type = kFlt1Int32;
  std::string value;  ///< in the type's binary form

  auto operator<=>(const Filter&) const = default;
};

/// The conditions of a predicate that may go down to the agent. Records carry no operator that an
/// agent must honour, so only equality goes; 16-bit numbers travel with 32 bits, because their own
/// record type has no sign; 64-bit numbers have no record type at all; and of texts only printable
/// ASCII goes, because anything else may not survive the agent's code page.
std::vector<Filter> filtersOf(const Predicate& predicate);

}  // namespace fw
