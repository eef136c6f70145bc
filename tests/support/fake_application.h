#pragma once

#include <string>
#include <vector>

#include "bridge/zelkeys.h"
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
  return body({{ZelKey::TableColumn::kName, fakejvm::string(name)},
               {ZelKey::TableColumn::kType, fakejvm::integer(type)},
               {ZelKey::TableColumn::kSize, fakejvm::integer(size)},
               {ZelKey::TableColumn::kOffset, fakejvm::integer(offset)}});
}

inline fakejvm::ObjectPtr table(const std::string& name) {
  return body({{ZelKey::Table::kName, fakejvm::string(name)},
               {ZelKey::Table::kColumns,
                fakejvm::list({column("NUMBER", 1, 4, 0), column("TEXT", 9, 8, 4)})},
               {ZelKey::Table::kSituationTrap, fakejvm::boolean(false)}});
}

/// The body of the reply to a request of this code; an empty one to those that carry no answer.
inline fakejvm::ObjectPtr answer(int code) {
  switch (code) {
    case ZelRequestCode::kInit:
      return body(
          {{ZelKey::InitReply::kToolkit, fakejvm::string("text")},
           {ZelKey::InitReply::kVersionAffinity, fakejvm::string("versionAffinity")},
           {ZelKey::InitReply::kHostName, fakejvm::string("javahost")},
           {ZelKey::InitReply::kAgentAffinity, fakejvm::string("affinity")},
           {ZelKey::InitReply::kTables, fakejvm::list({table("SAMPLES"), table("EVENTS")})}});
    case ZelRequestCode::kTakeSample:
      return body({{ZelKey::SampleReply::kRows, fakejvm::list({row('a'), row('b')})},
                   {ZelKey::SampleReply::kCacheSeconds, fakejvm::integer(0)}});
    case ZelRequestCode::kTakeAction:
      return body({{ZelKey::ActionReply::kCode, fakejvm::integer(0)},
                   {ZelKey::ActionReply::kMessage, fakejvm::string("done")}});
    case ZelRequestCode::kWebService:
      return body({{ZelKey::WebReply::kCode, fakejvm::integer(200)},
                   {ZelKey::WebReply::kMedia, fakejvm::integer(2)},
                   {ZelKey::WebReply::kContent, fakejvm::bytes("<p>hello</p>")}});
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
  return static_cast<int>(valueOf(envelope, ZelKey::Envelope::kId)->number);
}

/// Whether the agent waits for an answer to this message.
inline bool isRequest(const fakejvm::ObjectPtr& envelope) {
  return valueOf(envelope, ZelKey::Envelope::kType)->number == ZelMsg::Request;
}

/// Answers a message of the agent as a good application does.
inline void answerWell(JNIEnv* env, const fakejvm::ObjectPtr& envelope) {
  if (isRequest(envelope)) {
    putOutbound(env, answerTo(envelope, ZelMsg::Reply, answer(codeOf(envelope))));
  }
}

}  // namespace fakeapp
