#include "plain_exchange.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <utility>

namespace plain {
namespace {

constexpr int kType = 0;
constexpr int kId = 1;
constexpr int kBody = 3;
constexpr int kRequester = 4;
constexpr int kRequest = 0;
constexpr int kReply = 1;
constexpr int kTakeSample = 2;
constexpr int kRows = 4;

const JavaTypes* types = nullptr;  // for the native, which is told nothing else

struct Answer {
  Rows how;
  std::vector<std::string> rows;
};

void takeRows(Map& body, Answer& answer) {
  auto& list = std::get<List>(body.at(kRows).content);
  answer.rows.reserve(list.size());
  for (Value& row : list) {
    std::string& bytes = std::get<Bytes>(row.content).bytes;
    if (answer.how == Rows::Copied) {
      answer.rows.push_back(bytes);
    } else {
      answer.rows.push_back(std::move(bytes));
    }
  }
}

}  // namespace

Exchange::Exchange(JNIEnv& env) : java_(env) {
  types = &java_;
  env.GetJavaVM(&vm_);
  jclass type = findClass(env, "com/qrv/norvel/monitoring/toolkit/bench/PlainServer");
  JNINativeMethod method{const_cast<char*>("doPutOutbound"),
                         const_cast<char*>("(Ljava/lang/Object;)V"),
                         reinterpret_cast<void*>(&Exchange::onOutbound)};
  env.RegisterNatives(type, &method, 1);
  check(env);
  processInbound_ = findMethod(env, type, "processInbound", "(Ljava/lang/Object;)V");
  jobject local = env.NewObject(type, findMethod(env, type, "<init>", "()V"));
  check(env);
  server_ = env.NewGlobalRef(local);
  env.DeleteLocalRef(local);
}

std::vector<std::string> Exchange::sample(const char* table, Rows rows) {
  JNIEnv* env = nullptr;
  vm_->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), nullptr);
  Answer answer{rows, {}};
  jobject envelope = env->NewObject(java_.map, java_.newMap);
  put(*env, envelope, kType, integer(*env, kRequest));
  put(*env, envelope, kId, integer(*env, kTakeSample));
  put(*env, envelope, kBody, body(*env, table));
  put(*env, envelope, kRequester,
      env->NewObject(java_.longType, java_.newLong,
                     static_cast<jlong>(reinterpret_cast<long long>(&answer))));
  env->CallVoidMethod(server_, processInbound_, envelope);
  check(*env);
  return std::move(answer.rows);
}

// An exception must not pass through the Java frames below.
void Exchange::onOutbound(JNIEnv* env, jobject /*server*/, jobject message) try {
  Value value = toValue(*env, *types, message);
  auto& envelope = std::get<Map>(value.content);
  if (std::get<int>(envelope.at(kType).content) == kReply) {
    const long long handle = std::get<long long>(envelope.at(kRequester).content);
    takeRows(std::get<Map>(envelope.at(kBody).content), *reinterpret_cast<Answer*>(handle));
  }
} catch (const std::exception& e) {
  std::fprintf(stderr, "the plain exchange failed: %s\n", e.what());
  std::abort();
}

jobject Exchange::integer(JNIEnv& env, int value) const {
  return env.NewObject(java_.integer, java_.newInteger, value);
}

jobject Exchange::boolean(JNIEnv& env, bool value) const {
  return env.NewObject(java_.boolean, java_.newBoolean, value ? JNI_TRUE : JNI_FALSE);
}

jobject Exchange::list(JNIEnv& env) const { return env.NewObject(java_.list, java_.newList); }

void Exchange::put(JNIEnv& env, jobject map, int key, jobject value) const {
  jobject boxed = integer(env, key);
  env.CallObjectMethod(map, java_.mapPut, boxed, value);
  check(env);
  env.DeleteLocalRef(boxed);
}

// Table, filters, subnodes, history, automation, situation.
jobject Exchange::body(JNIEnv& env, const char* table) const {
  jobject map = env.NewObject(java_.map, java_.newMap);
  put(env, map, 0, env.NewStringUTF(table));
  put(env, map, 1, list(env));
  put(env, map, 5, list(env));
  put(env, map, 6, boolean(env, false));
  put(env, map, 7, boolean(env, false));
  put(env, map, 8, env.NewStringUTF(""));
  return map;
}

}  // namespace plain
