#pragma once

#include <memory>
#include <string>
#include <utility>

#include "bridge/zelbuild.h"
#include "bridge/zelclient.h"

/// A command to the test application, with up to two arguments.
class Command : public ZelRequest {
 public:
  explicit Command(const std::string& name, std::unique_ptr<ZelData> argument = nullptr,
                   std::unique_ptr<ZelData> more = nullptr)
      : ZelRequest(false) {
    zelPut<std::string>(*body, 0, name);
    if (argument != nullptr) {
      zelPut(*body, 1, std::move(argument));
    }
    if (more != nullptr) {
      zelPut(*body, 2, std::move(more));
    }
  }

  ZelMsg* createRegMsg() override { return new ZelMsg(100, ZelMsg::Request, body.release()); }

  void onReply(const ZelMap& replyBody) override {
    auto& entries = const_cast<ZelMap&>(replyBody).entries;
    if (entries.count(0) != 0) {
      result.reset(const_cast<ZelMap&>(replyBody).detach(0));
    }
  }

  std::unique_ptr<ZelMap> body = std::make_unique<ZelMap>();
  std::unique_ptr<ZelData> result;  ///< the reply's key 0
};

template <typename T>
std::unique_ptr<ZelData> value(const T& initial) {
  return std::make_unique<TZelPrimitive<T>>(initial);
}
