#include "faults/malformed_messages.h"

#include <algorithm>
#include <limits>

#include "bridge/zelkeys.h"
#include "bridge/zelreq.h"
#include "support/fake_application.h"

using fakejvm::ObjectPtr;

namespace {

constexpr int kMostLevels = 200;
constexpr int kLongText = 16 * 1024;

// Without the messages that end the agent on purpose: severity 1 stands under key 0.
void defuse(const ObjectPtr& body) {
  if (body == nullptr) {
    return;
  }
  for (auto& [key, value] : body->entries) {
    if (key != nullptr && key->number == 0 && value != nullptr && value->number == 1) {
      value = fakejvm::integer(ZelAppException::kOrdinary);
    }
  }
}

int codeWithoutShutdown(int code) {
  return code == ZelNotificationCode::kShutdown ? code + 1 : code;
}

}  // namespace

int MalformedMessages::below(int end) {
  return static_cast<int>(random_() % static_cast<std::uint64_t>(end));
}

ObjectPtr MalformedMessages::unasked() {
  if (oneIn(10)) {
    return odd();
  }
  const int types[] = {ZelMsg::Notification, ZelMsg::Notification, ZelMsg::Reply, ZelMsg::Exception,
                       ZelMsg::Request};
  return envelope(types[below(5)], below(20), fakejvm::longInteger(0));
}

ObjectPtr MalformedMessages::answerTo(const ObjectPtr& request, int code) {
  const int type = oneIn(4) ? ZelMsg::Exception : ZelMsg::Reply;
  return envelope(type, code, fakeapp::valueOf(request, ZelKey::Envelope::kHandle));
}

ObjectPtr MalformedMessages::envelope(int likelyType, int likelyCode, const ObjectPtr& handle) {
  const int type = oneIn(15) ? below(9) - 3 : likelyType;
  const int code = codeWithoutShutdown(oneIn(15) ? static_cast<int>(random_()) : likelyCode);
  std::vector<Entry> entries = {
      {fakejvm::integer(ZelKey::Envelope::kType), oneIn(20) ? odd() : fakejvm::integer(type)},
      {fakejvm::integer(ZelKey::Envelope::kId), oneIn(20) ? text() : fakejvm::integer(code)},
      {fakejvm::integer(ZelKey::Envelope::kBody), body(type, code)},
      {fakejvm::integer(ZelKey::Envelope::kHandle), oneIn(20) ? text() : handle},
  };
  while (oneIn(6)) {
    entries.erase(entries.begin() + below(static_cast<int>(entries.size())));
    if (entries.empty()) {
      break;
    }
  }
  if (oneIn(20)) {
    entries.emplace_back(key(), oneIn(2) ? text() : nullptr);
  }
  if (!entries.empty() && oneIn(20)) {
    entries.push_back(entries[static_cast<std::size_t>(below(static_cast<int>(entries.size())))]);
  }
  std::shuffle(entries.begin(), entries.end(), random_);
  return fakejvm::map(std::move(entries));
}

// Entries that may be missing, twice there, or of another kind.
ObjectPtr MalformedMessages::map(std::vector<std::pair<int, ObjectPtr>> likely) {
  std::vector<Entry> entries;
  for (auto& [number, value] : likely) {
    if (oneIn(12)) {
      continue;
    }
    entries.emplace_back(oneIn(40) ? key() : fakejvm::integer(number), oneIn(8) ? odd() : value);
    if (oneIn(25)) {
      entries.emplace_back(fakejvm::integer(number), leaf());
    }
  }
  return fakejvm::map(std::move(entries));
}

ObjectPtr MalformedMessages::body(int type, int code) {
  ObjectPtr result = oneIn(6) ? odd() : likelyBody(type, code);
  defuse(result);
  return result;
}

ObjectPtr MalformedMessages::likelyBody(int type, int code) {
  if (type == ZelMsg::Exception) {
    return map({{0, fakejvm::integer(ZelAppException::kOrdinary)}, {1, text()}});
  }
  switch (code) {
    case ZelRequestCode::kInit: {
      std::vector<ObjectPtr> tables;
      for (int i = below(3); i >= 0; --i) {
        tables.push_back(oneIn(10) ? odd() : table(i));
      }
      return map({{1, text()}, {4, text()}, {5, text()}, {6, text()}, {8, fakejvm::list(tables)}});
    }
    case ZelRequestCode::kTakeSample:
      return map({{4, rows()}, {10, fakejvm::integer(below(3))}});
    case ZelRequestCode::kTakeAction:
      return map({{2, number()}, {3, text()}});
    case ZelRequestCode::kWebService:
      return map({{7, number()}, {8, number()}, {9, bytes(below(100))}});
    case ZelNotificationCode::kEvents:
      return map({{0, oneIn(4) ? text() : fakejvm::string("EVENTS")}, {1, rows()}});
    default:
      return map({{0, text()}, {1, text()}, {2, text()}, {3, text()}});
  }
}

// Of two tables of one name the first manager stays behind, so names are unique here.
ObjectPtr MalformedMessages::table(int number) {
  std::vector<ObjectPtr> columns;
  for (int i = below(4); i >= 0; --i) {
    columns.push_back(oneIn(10) ? odd() : column());
  }
  ObjectPtr result = map({{9, fakejvm::list(columns)}, {15, fakejvm::boolean(oneIn(2))}});
  if (!oneIn(10)) {
    result->entries.emplace_back(fakejvm::integer(7),
                                 fakejvm::string("TABLE" + std::to_string(number)));
  }
  return result;
}

ObjectPtr MalformedMessages::column() {
  return map({{10, text()}, {11, number()}, {12, number()}, {13, number()}});
}

ObjectPtr MalformedMessages::rows() {
  std::vector<ObjectPtr> items;
  for (int i = below(6); i > 0; --i) {
    items.push_back(oneIn(12) ? odd()
                              : bytes(oneIn(3) ? below(40) : static_cast<int>(fakeapp::kRowSize)));
  }
  return fakejvm::list(std::move(items));
}

ObjectPtr MalformedMessages::leaf() {
  switch (below(10)) {
    case 0:
      return nullptr;
    case 1:
      return fakejvm::longInteger(static_cast<long long>(random_()));
    case 2:
      return fakejvm::boolean(oneIn(2));
    case 3:
      return text();
    case 4:
      return bytes(below(64));
    case 5:
      return fakejvm::list({});
    case 6:
      return fakejvm::map({});
    case 7: {
      const char* const unknown[] = {"java/lang/Double", "java/lang/Object", "java/util/TreeMap",
                                     "[Ljava/lang/Object;", "java/util/LinkedHashMap"};
      return fakejvm::instance(unknown[below(5)]);
    }
    default:
      return number();
  }
}

// One branch goes all the way down, the others end at once.
ObjectPtr MalformedMessages::tree(int levels) {
  ObjectPtr value = leaf();
  for (int level = 0; level < levels; ++level) {
    if (oneIn(2)) {
      value = fakejvm::list({value});
    } else {
      value = fakejvm::map({{fakejvm::integer(level), value}});
    }
    if (oneIn(16)) {
      value->items.push_back(leaf());
      value->entries.emplace_back(key(), leaf());
    }
  }
  return value;
}

ObjectPtr MalformedMessages::odd() {
  if (oneIn(20)) {
    return tree(below(kMostLevels) + 1);
  }
  return oneIn(3) ? tree(below(5)) : leaf();
}

ObjectPtr MalformedMessages::key() { return oneIn(2) ? fakejvm::integer(below(20)) : leaf(); }

ObjectPtr MalformedMessages::number() {
  constexpr int kEdges[] = {
      0, -1, 1, 9, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
  return fakejvm::integer(oneIn(2) ? kEdges[below(6)] : below(100));
}

ObjectPtr MalformedMessages::text() {
  const int length = oneIn(400) ? kLongText : below(20);
  const char* const characters[] = {"a", "%s", "%n", "\xC0\x80", "\xED\xA0\x80", "\xE2\x82\xAC"};
  std::string value;
  while (static_cast<int>(value.size()) < length) {
    value += characters[below(6)];
  }
  return fakejvm::string(value);
}

ObjectPtr MalformedMessages::bytes(int length) {
  std::string value(static_cast<std::size_t>(length), '\0');
  std::generate(value.begin(), value.end(), [this] { return static_cast<char>(below(256)); });
  return fakejvm::bytes(value);
}
