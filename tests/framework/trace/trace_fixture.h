#pragma once

#include <cstring>
#include <string>

#include "agentfw/ras1.h"

/// A trace unit with one function, made at run time.
struct TestUnit {
  explicit TestUnit(const char* name, const char* file = "some.cpp", const char* component = "*",
                    const char* function = "work")
      : unit{400,       0x4000,
             file,      length(file),
             "",        0,
             "",        0,
             name,      length(name),
             component, length(component),
             {0, 0},    &ras1BuildInfo},
        entry{&unit, function, length(function), 10, &data, 0} {}
  TestUnit(const TestUnit&) = delete;
  TestUnit& operator=(const TestUnit&) = delete;

  std::uint32_t mask() const { return data.mask.load(); }

  RAS1_Unit unit;
  RAS1_UnitData data;
  RAS1_Entry entry;

 private:
  static std::uint32_t length(const char* text) {
    return static_cast<std::uint32_t>(std::strlen(text));
  }
};
