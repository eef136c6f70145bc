// Conditions of a report: parsed, and checked against a row.

#include "fuzz/fuzz_target.h"
#include "tables/where_parser.h"

namespace {

const fw::TableInfo& table() {
  static const fw::TableInfo info{"APP",
                                  "POOLS",
                                  {{"NAME", fw::ColumnType::Utf8, 0, 16},
                                   {"USED", fw::ColumnType::Int64, 16, 8},
                                   {"COUNT", fw::ColumnType::Int32, 24, 4},
                                   {"PERCENT", fw::ColumnType::Int16, 28, 2},
                                   {"ODD NAME", fw::ColumnType::Chars, 30, 4}},
                                  34,
                                  false};
  return info;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto result = fw::parseWhere(fuzz::textOf(data, size), table());
  if (const auto* error = std::get_if<fw::WhereError>(&result)) {
    fuzz::check(error->position <= size, "an error lies inside the text");
    fuzz::check(!error->message.empty(), "an error has a message");
  } else {
    fuzz::check(std::get<fw::Predicate>(result).size() <= fw::kMaxConditions,
                "the number of conditions is bounded");
  }
  return 0;
}
