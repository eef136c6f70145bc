#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/fake_jvm/fake_jvm.h"

/// Messages as no good Java application sends them: nulls, unknown classes, wrong kinds, missing,
/// odd and duplicate keys, trees of up to 200 levels, long texts, codes and types that do not
/// exist. The same seed gives the same messages.
///
/// Two things never come, because they end the agent on purpose: the application's wish to shut
/// down and its critical exception. A requester handle is 0 or that of a request in progress: it is
/// an address, and the native side trusts it.
class MalformedMessages {
 public:
  explicit MalformedMessages(std::uint64_t seed) : random_(seed) {}

  /// A message of the application's own.
  fakejvm::ObjectPtr unasked();

  /// An answer to `request`, an envelope of the agent, with its handle; `code` is that of the
  /// request.
  fakejvm::ObjectPtr answerTo(const fakejvm::ObjectPtr& request, int code);

  /// A number from 0 to `end` - 1.
  int below(int end);

 private:
  using Entry = std::pair<fakejvm::ObjectPtr, fakejvm::ObjectPtr>;

  fakejvm::ObjectPtr envelope(int likelyType, int likelyCode, const fakejvm::ObjectPtr& handle);
  fakejvm::ObjectPtr map(std::vector<std::pair<int, fakejvm::ObjectPtr>> likely);
  fakejvm::ObjectPtr body(int type, int code);
  fakejvm::ObjectPtr likelyBody(int type, int code);
  fakejvm::ObjectPtr table(int number);
  fakejvm::ObjectPtr column();
  fakejvm::ObjectPtr rows();
  fakejvm::ObjectPtr leaf();
  fakejvm::ObjectPtr tree(int levels);
  fakejvm::ObjectPtr odd();
  fakejvm::ObjectPtr key();
  fakejvm::ObjectPtr number();
  fakejvm::ObjectPtr text();
  fakejvm::ObjectPtr bytes(int length);
  bool oneIn(int count) { return below(count) == 0; }

  std::mt19937_64 random_;
};
