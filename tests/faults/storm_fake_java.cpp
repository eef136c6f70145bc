#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "bridge/zelkeys.h"
#include "faults/storm_java.h"
#include "support/fake_application.h"

namespace {

using fakejvm::ObjectPtr;

ObjectPtr valueAt(const ObjectPtr& map, int key) { return fakeapp::valueOf(map, key); }

void notifyFromAnotherThread(const ObjectPtr& command) {
  const ObjectPtr notification =
      fakeapp::body({{ZelKey::Envelope::kType, fakejvm::integer(ZelMsg::Notification)},
                     {ZelKey::Envelope::kId, valueAt(command, 1)},
                     {ZelKey::Envelope::kBody, valueAt(command, 2)}});
  std::thread([&] { putOutbound(fakejvm::Jvm::get().env(), notification); }).join();
}

void perform(JNIEnv* env, const ObjectPtr& envelope) {
  const ObjectPtr command = valueAt(envelope, ZelKey::Envelope::kBody);
  const std::string name = valueAt(command, 0)->text;
  if (name == "error") {
    fakejvm::Jvm::get().raise("java/lang/OutOfMemoryError", "scripted");
    return;
  }
  if (name == "exception") {
    const ObjectPtr reason =
        fakeapp::body({{ZelKey::Failure::kSeverity, valueAt(command, 1)},
                       {ZelKey::Failure::kMessage, fakejvm::string("refused")}});
    putOutbound(env, answerTo(envelope, ZelMsg::Exception, reason));
    return;
  }
  notifyFromAnotherThread(command);
  putOutbound(env, answerTo(envelope, ZelMsg::Reply, fakejvm::map({})));
}

}  // namespace

void storm::setUpJava(const std::string& home) {
  std::ofstream(home + "/config/tstwb.properties") << "app.jar\n";
  fake::Framework::get().env["ZEL_LIBJVM"] = FAKE_JVM_LIBRARY;
  fakejvm::Jvm& jvm = fakejvm::Jvm::get();
  jvm.reset();
  jvm.isRecording = false;
  jvm.isCreatedOnce = true;  // a stop that comes late must not start a second one
  jvm.onProcessInbound = [](JNIEnv* env, const ObjectPtr& envelope) {
    if (fakeapp::codeOf(envelope) == 100) {
      perform(env, envelope);
    } else {
      fakeapp::answerWell(env, envelope);
    }
  };
}
