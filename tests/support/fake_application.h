#pragma once

#include <string>
#include <vector>

#include "support/bridge_messages.h"

/// A well-behaved Java application of the fake JVM: what it answers to each request of the agent.
/// It has the tables SAMPLES and EVENTS, whose rows are a 4-byte number and 8 characters.
namespace fakeapp {

inline constexpr std::size_t kRowSize = 12;

inline fakejvm::ObjectPtr body(std::vector<std::pair<int, fakejvm::ObjectPtr>> entries) {
  std::vector<std::pair<fakejvm::ObjectPtr, fakejvm::ObjectPtr>> boxed;
  for (auto& [key, value] : entries) {
    boxed.emplace_back(fakejvm::integer(key), std::move(value));
  }
  return fakejvm::map(std::move(boxed));
}

inline fakejvm::ObjectPtr row(char first) { return fakejvm::bytes(std::string(kRowSize, first)); }

inline fakejvm::ObjectPtr column(const std::string& name, int type, int size, int offset) {
  return body({{10, fakejvm::string(name)},
               {11, fakejvm::integer(type)},
               {12, fakejvm::integer(size)},
               {13, fakejvm::integer(offset)}});
}

inline fakejvm::ObjectPtr table(const std::string& name) {
  return body({{7, fakejvm::string(name)},
               {9, fakejvm::list({column("NUMBER", 1, 4, 0), column("TEXT", 9, 8, 4)})},
               {15, fakejvm::boolean(false)}});
}

/// The body of the reply to a request of this code; an empty one to those that carry no answer.
inline fakejvm::ObjectPtr answer(int code) {
  switch (code) {
    case ZelMsgId::kInit:
      return body({{1, fakejvm::string("text")},
                   {4, fakejvm::string("versionAffinity")},
                   {5, fakejvm::string("javahost")},
                   {6, fakejvm::string("affinity")},
                   {8, fakejvm::list({table("SAMPLES"), table("EVENTS")})}});
    case ZelMsgId::kTakeSample:
      return body({{4, fakejvm::list({row('a'), row('b')})}, {10, fakejvm::integer(0)}});
    case ZelMsgId::kTakeAction:
      return body({{2, fakejvm::integer(0)}, {3, fakejvm::string("done")}});
    case ZelMsgId::kWebService:
      return body({{7, fakejvm::integer(200)},
                   {8, fakejvm::integer(2)},
                   {9, fakejvm::bytes("<p>hello</p>")}});
    default:
      return body({});
  }
}

/// The value that stands under `key` in an envelope; null when there is none.
inline fakejvm::ObjectPtr valueOf(const fakejvm::ObjectPtr& envelope, int key) {
  for (const auto& [entryKey, value] : envelope->entries) {
    if (entryKey->number == key) {
      return value;
    }
  }
  return nullptr;
}

inline int codeOf(const fakejvm::ObjectPtr& envelope) {
  return static_cast<int>(valueOf(envelope, ZelEnvelopeKey::kId)->number);
}

/// Whether the agent waits for an answer to this message.
inline bool isRequest(const fakejvm::ObjectPtr& envelope) {
  return valueOf(envelope, ZelEnvelopeKey::kType)->number == ZelMsg::Request;
}

/// Answers a message of the agent as a good application does.
inline void answerWell(JNIEnv* env, const fakejvm::ObjectPtr& envelope) {
  if (isRequest(envelope)) {
    putOutbound(env, answerTo(envelope, ZelMsg::Reply, answer(codeOf(envelope))));
  }
}

}  // namespace fakeapp
