// Trace, basic services and exception records of the fake framework.

#include <cstdarg>
#include <cstdio>
#include <ctime>

#include "agentfw/bss1.h"
#include "agentfw/pfm1.h"
#include "agentfw/res1.h"
#include "agentfw/sig1.h"
#include "support/fake_framework.h"

using fake::Framework;
using fake::TraceRecord;

namespace {

void add(const RAS1_Entry* entry, std::uint32_t line, TraceRecord::Kind kind, std::string text,
         std::string data = {}) {
  const RAS1_Unit& unit = *entry->unit;
  Framework::get().addTrace(
      {kind, std::string(unit.name, unit.nameLength),
       std::string(unit.component, unit.componentLength), std::string(unit.file, unit.fileLength),
       std::string(entry->function, entry->functionLength), line, std::move(text), std::move(data),
       std::string(unit.compileDate, unit.compileDateLength),
       std::string(unit.compileTime, unit.compileTimeLength), entry->flags});
}

}  // namespace

std::uint32_t RAS1_Sync(const RAS1_Entry* entry) {
  return Framework::get().sync(*entry->unit, *entry->data);
}

void RAS1_Printf(const RAS1_Entry* entry, std::uint32_t line, const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list again;
  va_copy(again, args);
  std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, args)), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  va_end(args);
  add(entry, line, TraceRecord::Message, std::move(text));
}

void RAS1_Event(const RAS1_Entry* entry, std::uint32_t line, RAS1_EventKind kind, ...) {
  va_list args;
  va_start(args, kind);
  std::string text = kind == kRas1Entered ? "entry" : "exit";
  if (kind == kRas1LeftInt) {
    text += " " + std::to_string(va_arg(args, long long));
  } else if (kind == kRas1LeftPointer) {
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), " %p", va_arg(args, const void*));
    text += buffer;
  }
  va_end(args);
  add(entry, line, TraceRecord::Event, std::move(text));
}

void RAS1_Dump(const RAS1_Entry* entry, std::uint32_t line, const void* data, std::uint32_t length,
               const char* title) {
  add(entry, line, TraceRecord::Dump, title, std::string(static_cast<const char*>(data), length));
}

const char* BSS1_GetEnv(const char* name, const char* defaultValue) {
  Framework& framework = Framework::get();
  framework.call("BSS1_GetEnv", name);
  const auto found = framework.env.find(name);
  return found == framework.env.end() ? defaultValue : found->second.c_str();
}

int BSS1_GetLock(BSS1_Lock* lock) {
  Framework::get().call("BSS1_GetLock");
  return pthread_mutex_lock(&lock->mutex);
}

int BSS1_ReleaseLock(BSS1_Lock* lock) {
  Framework::get().call("BSS1_ReleaseLock");
  return pthread_mutex_unlock(&lock->mutex);
}

void BSS1_GetTime(BSS1_Time* now) {
  const Framework& framework = Framework::get();
  if (framework.timeSeconds >= 0) {
    *now = {framework.timeSeconds, framework.timeNanoseconds};
    return;
  }
  timespec time;
  clock_gettime(CLOCK_REALTIME, &time);
  *now = {time.tv_sec, static_cast<std::int32_t>(time.tv_nsec)};
}

PFM1_ThreadRecord* PFM1_Thread() {
  static thread_local PFM1_ThreadRecord record{0, 0};
  return &record;
}

int PFM1_Signal(int id, int enable) { return Framework::get().call("PFM1_Signal", id, enable); }

int SIG1_Action(int id, const SIG1_Record* record, int options) {
  return Framework::get().call("SIG1_Action", id, record->action, record->mask, record->reserved[0],
                               record->reserved[1], options);
}

int RES1_Drop(RES1_Handle handle) { return Framework::get().call("RES1_Drop", handle); }
