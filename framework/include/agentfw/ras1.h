#pragma once

#include <atomic>
#include <cstdint>

#include "agentfw/export.h"

/// @file
/// Trace facility.
///
/// Each source file declares one trace unit with RAS1_UNIT; each function that traces begins with
/// RAS1_FUNCTION or RAS1_FLOW. A unit has a mask of trace classes that the framework may change at
/// any time. A message of a disabled class costs one load and one branch. All operations may be
/// called from any thread, also before the framework is configured and while it stops.

/// Trace classes, the bits of a unit's mask.
enum RAS1_Class : std::uint32_t {
  kRas1Detail = 0x01,
  kRas1State = 0x08,
  kRas1Summary = 0x10,  ///< event counts and object dumps
  kRas1Flow = 0x40,     ///< function entry and exit
  kRas1Error = 0x80,
};

/// Mask of a unit that has not asked the framework yet: every class looks enabled, so that the
/// first test of any class takes the slow path.
inline constexpr std::uint32_t kRas1Unsynced = 0xFFFFFFFF;

/// Where a component comes from. One per linked component, defined by cmake/build_info.cpp.
struct RAS1_BuildInfo {
  const char* version;
  char compileDate[12];
  char compileTime[9];
};
extern const RAS1_BuildInfo ras1BuildInfo;

/// Describes one source file to the trace. Lengths exclude the terminating zero.
struct RAS1_Unit {
  std::uint32_t header;  ///< 400
  std::uint32_t flags;   ///< 0x4000
  const char* file;
  std::uint32_t fileLength;
  const char* compileDate;
  std::uint32_t compileDateLength;
  const char* compileTime;
  std::uint32_t compileTimeLength;
  const char* name;
  std::uint32_t nameLength;
  const char* component;  ///< "*" in our own units
  std::uint32_t componentLength;
  std::uint32_t zero[2];
  const RAS1_BuildInfo* build;
};

/// The changeable side of a unit. Once synced it is written by the framework only.
struct RAS1_UnitData {
  std::atomic<std::uint32_t> mask{kRas1Unsynced};
};

/// Describes one function to the trace.
struct RAS1_Entry {
  const RAS1_Unit* unit;
  const char* function;
  std::uint32_t functionLength;
  std::uint32_t line;   ///< where the function starts
  RAS1_UnitData* data;  ///< null in a descriptor that is built for one record
  std::uint32_t flags;  ///< 0, or kRas1Transient
};

/// Entry flag: descriptor and texts live for one call only; the framework keeps no pointer.
inline constexpr std::uint32_t kRas1Transient = 0x800;

enum RAS1_EventKind : std::uint32_t {
  kRas1Entered,      ///< no further argument
  kRas1Left,         ///< no further argument
  kRas1LeftInt,      ///< one long long: the function's result
  kRas1LeftPointer,  ///< one const void*: the function's result
};

extern "C" {

/// Registers the entry's unit with the framework on the first call, and returns its mask.
AGENTFW_API std::uint32_t RAS1_Sync(const RAS1_Entry* entry);

/// Writes one record, whatever the mask. The text may hold several lines.
AGENTFW_API void RAS1_Printf(const RAS1_Entry* entry, std::uint32_t line, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/// Writes a function's entry or exit, whatever the mask.
AGENTFW_API void RAS1_Event(const RAS1_Entry* entry, std::uint32_t line, RAS1_EventKind kind, ...);

/// Writes `length` bytes in hexadecimal and as characters under a title, whatever the mask.
AGENTFW_API void RAS1_Dump(const RAS1_Entry* entry, std::uint32_t line, const void* data,
                           std::uint32_t length, const char* title);
}

/// Whether any class of `classes` is enabled for the entry's unit.
inline bool RAS1_isOn(const RAS1_Entry& entry, std::uint32_t classes) {
  const std::uint32_t mask = entry.data->mask.load(std::memory_order_relaxed);
  if ((mask & classes) == 0) [[likely]] {
    return false;
  }
  return mask != kRas1Unsynced || (RAS1_Sync(&entry) & classes) != 0;
}

/// Traces a function's entry and, when it goes out of scope, its exit.
class RAS1_FlowGuard {
 public:
  explicit RAS1_FlowGuard(const RAS1_Entry& function)
      : entry(RAS1_isOn(function, kRas1Flow) ? &function : nullptr) {
    if (entry != nullptr) {
      RAS1_Event(entry, entry->line, kRas1Entered);
    }
  }
  RAS1_FlowGuard(const RAS1_FlowGuard&) = delete;
  RAS1_FlowGuard& operator=(const RAS1_FlowGuard&) = delete;
  ~RAS1_FlowGuard() {
    if (entry == nullptr) {
      return;
    }
    if (kind == kRas1LeftInt) {
      RAS1_Event(entry, entry->line, kind, intResult);
    } else if (kind == kRas1LeftPointer) {
      RAS1_Event(entry, entry->line, kind, pointerResult);
    } else {
      RAS1_Event(entry, entry->line, kind);
    }
  }

  /// Puts the function's result into the exit event and passes it on: `return ras1Flow.result(rc)`.
  template <typename T>
  T result(T value) {
    if constexpr (requires { static_cast<const void*>(value); }) {
      kind = kRas1LeftPointer;
      pointerResult = static_cast<const void*>(value);
    } else {
      kind = kRas1LeftInt;
      intResult = static_cast<long long>(value);
    }
    return value;
  }

 private:
  const RAS1_Entry* entry;
  RAS1_EventKind kind = kRas1Left;
  long long intResult = 0;
  const void* pointerResult = nullptr;
};

/// Declares the trace unit of a source file, at namespace scope, with a literal name.
#define RAS1_UNIT(unitName)                                                                  \
  namespace {                                                                                \
  [[maybe_unused]] constinit const RAS1_Unit ras1Unit{400,                                   \
                                                      0x4000,                                \
                                                      __FILE_NAME__,                         \
                                                      sizeof(__FILE_NAME__) - 1,             \
                                                      ras1BuildInfo.compileDate,             \
                                                      sizeof(ras1BuildInfo.compileDate) - 1, \
                                                      ras1BuildInfo.compileTime,             \
                                                      sizeof(ras1BuildInfo.compileTime) - 1, \
                                                      unitName,                              \
                                                      sizeof(unitName) - 1,                  \
                                                      "*",                                   \
                                                      1,                                     \
                                                      {0, 0},                                \
                                                      &ras1BuildInfo};                       \
  [[maybe_unused]] constinit RAS1_UnitData ras1UnitData{};                                   \
  }                                                                                          \
  static_assert(sizeof(unitName) > 1, "a trace unit needs a name")

/// Declares the function's entry block; without flow events.
#define RAS1_FUNCTION()                                                   \
  [[maybe_unused]] static constinit const RAS1_Entry ras1Entry {          \
    &ras1Unit, __func__, sizeof(__func__) - 1, __LINE__, &ras1UnitData, 0 \
  }

/// Declares the function's entry block and traces its entry and exit in the flow class.
#define RAS1_FLOW() \
  RAS1_FUNCTION();  \
  RAS1_FlowGuard ras1Flow(ras1Entry)

/// Writes a printf-style message, whatever the mask.
#define RAS1_PRINT(...) RAS1_Printf(&ras1Entry, __LINE__, __VA_ARGS__)

/// Writes a printf-style message when one of the classes is enabled.
#define RAS1_PRINT_IF(classes, ...)        \
  do {                                     \
    if (RAS1_isOn(ras1Entry, (classes))) { \
      RAS1_PRINT(__VA_ARGS__);             \
    }                                      \
  } while (false)

#define RAS1_DETAIL(...) RAS1_PRINT_IF(kRas1Detail, __VA_ARGS__)

/// Dumps bytes when one of the classes is enabled.
#define RAS1_DUMP_IF(classes, title, data, length)                                          \
  do {                                                                                      \
    if (RAS1_isOn(ras1Entry, (classes))) {                                                  \
      RAS1_Dump(&ras1Entry, __LINE__, (data), static_cast<std::uint32_t>(length), (title)); \
    }                                                                                       \
  } while (false)
