#include "bridge/jni/zeljnatives.h"

#include <map>
#include <memory>
#include <set>
#include <string>

#include "agentfw/ras1.h"
#include "bridge/jni/zeljclnt.h"
#include "bridge/zelexc.h"
#include "zelguard.h"
#include "zelspawnu.h"

RAS1_UNIT("ZELJCLNT");

std::atomic<std::uint32_t> zelJavaTraceMask{0};

namespace {

struct EnvironmentChanges {
  std::map<std::string, std::string> set;
  std::set<std::string> unset;
};

// printf's own text for a null string, on every C library.
const char* shown(const char* text) { return text == nullptr ? "(null)" : text; }

const char* textOf(ZelJString& string) { return string.isNull() ? "" : string.getData(); }

void collectChange(JNIEnv& env, ZelJMapEntry& entry, EnvironmentChanges& changes) {
  RAS1_FUNCTION();
  ZelJString key(env, entry.getKey());
  if (key.isNull()) {
    RAS1_PRINT("WARN: found null key in env map");
    return;
  }
  ZelJString value(env, entry.getValue());
  if (value.isNull()) {
    changes.unset.insert(key.getData());
    RAS1_PRINT("Unset env: %s", key.getData());
    return;
  }
  changes.set[key.getData()] = value.getData();
  RAS1_PRINT("Set env: %s=%s", key.getData(), value.getData());
}

EnvironmentChanges readChanges(JNIEnv& env, jobject envMap) {
  EnvironmentChanges changes;
  ZelJHashMap map(env, envMap);
  if (!map.isNull()) {
    ZelJIterator entries = map.newEntryIterator();
    while (entries.hasNext()) {
      ZelJMapEntry entry(env, entries.next());
      collectChange(env, entry, changes);
    }
  }
  return changes;
}

// A descriptor of the trace for one record of the Java application: our unit, the caller's names.
RAS1_Unit describeRecord(ZelJString& component, ZelJString& sourceFile) {
  RAS1_Unit unit = ras1Unit;
  unit.file = textOf(sourceFile);
  unit.fileLength = static_cast<std::uint32_t>(sourceFile.getLength());
  unit.component = textOf(component);
  unit.componentLength = static_cast<std::uint32_t>(component.getLength());
  return unit;
}

}  // namespace

void zelPutOutboundCallback(JNIEnv* env, jobject /*self*/, jobject msg) {
  RAS1_FLOW();
  zelGuarded(ras1Entry, [&] {
    const std::unique_ptr<ZelData> data(ZelJniClient::javaToNative(*env, msg));
    const ZelClientUse use;
    ZelClient::current()->processInbound(data->toMap());
  });
}

void zelRasTrace(JNIEnv* env, jclass /*type*/, jint level, jstring component, jstring sourceFile,
                 jstring function, jstring message) {
  RAS1_FUNCTION();
  const auto classes = static_cast<std::uint32_t>(level);
  if ((classes & zelJavaTraceMask.load(std::memory_order_relaxed)) != classes) {
    return;
  }
  zelGuarded(ras1Entry, [&] {
    try {
      ZelJString componentText(*env, component);
      ZelJString sourceFileText(*env, sourceFile);
      ZelJString functionText(*env, function);
      ZelJString messageText(*env, message);
      const RAS1_Unit unit = describeRecord(componentText, sourceFileText);
      const RAS1_Entry record{
          &unit,   textOf(functionText), static_cast<std::uint32_t>(functionText.getLength()), 0,
          nullptr, kRas1Transient};
      RAS1_Printf(&record, 0, "%s", shown(messageText.getData()));
    } catch (const ZelException& e) {
      RAS1_PRINT("WARN: caught exception in %s at line %i", e.file.c_str(),
                 static_cast<int>(e.line));
    }
  });
}

void zelRunDaemon(JNIEnv* env, jclass /*type*/, jstring command, jobject envMap, jstring dir,
                  jstring stdoutFile, jstring stderrFile) {
  RAS1_FLOW();
  zelGuarded(ras1Entry, [&] {
    ZelJString commandText(*env, command);
    ZelJString dirText(*env, dir);
    ZelJString stdoutText(*env, stdoutFile);
    ZelJString stderrText(*env, stderrFile);
    const char* const commandLine = commandText.getData();
    const char* const directory = dirText.getData();
    const char* const output = stdoutText.getData();
    const char* const errors = stderrText.getData();
    RAS1_PRINT("Running command '%s'\nDir: '%s'\nStdout: '%s'\nStderr: '%s'", shown(commandLine),
               shown(directory), shown(output), shown(errors));
    const EnvironmentChanges changes = readChanges(*env, envMap);
    zelSpawnDaemon(commandLine, directory, output, errors, changes.set, changes.unset);
  });
}

jboolean zelIsRunningPid(JNIEnv* /*env*/, jclass /*type*/, jlong pid) {
  RAS1_FLOW();
  const auto id = static_cast<std::uint32_t>(pid);
  return ras1Flow.result(static_cast<jboolean>(zelIsRunningProcess(id) ? JNI_TRUE : JNI_FALSE));
}
