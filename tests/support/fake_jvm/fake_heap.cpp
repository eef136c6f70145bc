#include "support/fake_jvm/fake_heap.h"

#include <cstdio>
#include <map>

namespace fakejvm {

namespace {

const std::map<std::string, std::string>& parents() {
  static const std::map<std::string, std::string>& table = *new std::map<std::string, std::string>{
      {"java/lang/Error", "java/lang/Throwable"},
      {"java/lang/NoClassDefFoundError", "java/lang/Error"},
      {"java/lang/NoSuchMethodError", "java/lang/Error"},
      {"java/lang/OutOfMemoryError", "java/lang/Error"},
      {"java/util/HashMap$EntryIterator", "java/util/Iterator"},
      {"java/util/HashMap$Node", "java/util/Map$Entry"},
      {"java/util/LinkedHashMap", "java/util/HashMap"},
  };
  return table;
}

std::string hex(const std::string& value) {
  std::string text;
  for (const char byte : value) {
    char digits[3];
    std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned char>(byte));
    text += digits;
  }
  return text;
}

}  // namespace

ObjectPtr instance(const std::string& className) {
  auto object = std::make_shared<Object>();
  object->className = className;
  return object;
}

ObjectPtr integer(int value) {
  ObjectPtr object = instance("java/lang/Integer");
  object->number = value;
  return object;
}

ObjectPtr longInteger(long long value) {
  ObjectPtr object = instance("java/lang/Long");
  object->number = value;
  return object;
}

ObjectPtr boolean(bool value) {
  ObjectPtr object = instance("java/lang/Boolean");
  object->number = value ? 1 : 0;
  return object;
}

ObjectPtr string(const std::string& modifiedUtf8) {
  ObjectPtr object = instance("java/lang/String");
  object->text = modifiedUtf8;
  return object;
}

ObjectPtr bytes(const std::string& value) {
  ObjectPtr object = instance("[B");
  object->text = value;
  return object;
}

ObjectPtr list(std::vector<ObjectPtr> items) {
  ObjectPtr object = instance("java/util/ArrayList");
  object->items = std::move(items);
  return object;
}

ObjectPtr map(std::vector<std::pair<ObjectPtr, ObjectPtr>> entries) {
  ObjectPtr object = instance("java/util/HashMap");
  object->entries = std::move(entries);
  return object;
}

ObjectPtr throwable(const std::string& className, const std::string& message) {
  ObjectPtr object = instance(className);
  object->text = message;
  return object;
}

ObjectPtr classObject(const std::string& name) {
  ObjectPtr object = instance("java/lang/Class");
  object->text = name;
  return object;
}

std::string describe(const ObjectPtr& object) {
  if (object == nullptr) {
    return "null";
  }
  const std::string& name = object->className;
  if (name == "java/lang/Integer") {
    return std::to_string(object->number);
  }
  if (name == "java/lang/Long") {
    return std::to_string(object->number) + "L";
  }
  if (name == "java/lang/Boolean") {
    return object->number == 0 ? "false" : "true";
  }
  if (name == "java/lang/String") {
    return '"' + object->text + '"';
  }
  if (name == "java/lang/Class") {
    return "class " + object->text;
  }
  if (name == "[B") {
    return "x'" + hex(object->text) + "'";
  }
  std::string all;
  if (name == "java/util/ArrayList") {
    for (const ObjectPtr& item : object->items) {
      all += (all.empty() ? "" : ", ") + describe(item);
    }
    return "[" + all + "]";
  }
  if (name == "java/util/HashMap") {
    for (const auto& [key, value] : object->entries) {
      all += (all.empty() ? "" : ", ") + describe(key) + ": " + describe(value);
    }
    return "{" + all + "}";
  }
  return name;
}

bool isInstance(const Object& object, const std::string& className) {
  std::string name = object.className;
  while (name != className) {
    const auto parent = parents().find(name);
    if (parent == parents().end()) {
      return false;
    }
    name = parent->second;
  }
  return true;
}

bool areEqual(const ObjectPtr& left, const ObjectPtr& right) {
  if (left == nullptr || right == nullptr) {
    return left == right;
  }
  return left == right || (left->className == right->className && left->number == right->number &&
                           left->text == right->text && left->className.rfind("java/lang", 0) == 0);
}

}  // namespace fakejvm
