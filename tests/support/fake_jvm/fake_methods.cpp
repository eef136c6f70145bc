// The few Java methods that the library under test calls.

#include "support/fake_jvm/fake_methods.h"

#include <algorithm>
#include <cstdarg>

namespace fakejvm {

namespace {

ObjectPtr argument(std::va_list args) { return Jvm::get().resolve(va_arg(args, jobject)); }

auto findEntry(Object& map, const ObjectPtr& key) {
  return std::find_if(map.entries.begin(), map.entries.end(),
                      [&](const auto& entry) { return areEqual(entry.first, key); });
}

ObjectPtr put(Object& map, const ObjectPtr& key, const ObjectPtr& value) {
  const auto found = findEntry(map, key);
  if (found == map.entries.end()) {
    map.entries.emplace_back(key, value);
    return nullptr;
  }
  return std::exchange(found->second, value);
}

ObjectPtr entryIterator(const Object& map) {
  ObjectPtr iterator = instance("java/util/HashMap$EntryIterator");
  for (const auto& [key, value] : map.entries) {
    ObjectPtr node = instance("java/util/HashMap$Node");
    node->items = {key, value};
    iterator->items.push_back(node);
  }
  return iterator;
}

std::string toString(const Object& throwable) {
  std::string name = throwable.className;
  std::replace(name.begin(), name.end(), '/', '.');
  return name + ": " + throwable.text;
}

Result callMap(const std::string& name, Object& map, std::va_list args) {
  if (name == "newEntryIterator") {
    return {0, entryIterator(map)};
  }
  const ObjectPtr key = argument(args);
  if (name == "put") {
    return {0, put(map, key, argument(args))};
  }
  const auto found = findEntry(map, key);
  return {0, found == map.entries.end() ? nullptr : found->second};
}

Result callList(const std::string& name, Object& list, std::va_list args) {
  if (name == "add") {
    list.items.push_back(argument(args));
    return {1, nullptr};
  }
  if (name == "get") {
    return {0, list.items.at(static_cast<std::size_t>(va_arg(args, jint)))};
  }
  return {static_cast<long long>(list.items.size()), nullptr};
}

Result callIterator(const std::string& name, Object& iterator) {
  if (name == "hasNext") {
    return {iterator.position < iterator.items.size() ? 1 : 0, nullptr};
  }
  return {0, iterator.items.at(iterator.position++)};
}

Result callServer(JNIEnv* env, std::va_list args) {
  const ObjectPtr msg = argument(args);
  if (Jvm::get().onProcessInbound) {
    Jvm::get().onProcessInbound(env, msg);
  }
  return {};
}

}  // namespace

Result call(JNIEnv* env, const Jvm::Method& method, const ObjectPtr& self, std::va_list args) {
  const std::string& name = method.name;
  if (name == "processInbound") {
    return callServer(env, args);
  }
  if (name == "toString") {
    return {0, string(toString(*self))};
  }
  if (method.className == "java/util/HashMap") {
    return callMap(name, *self, args);
  }
  if (method.className == "java/util/ArrayList") {
    return callList(name, *self, args);
  }
  if (method.className == "java/util/Iterator") {
    return callIterator(name, *self);
  }
  if (method.className == "java/util/Map$Entry") {
    return {0, self->items.at(name == "getKey" ? 0 : 1)};
  }
  return {self->number, nullptr};  // intValue, longValue, booleanValue
}

ObjectPtr construct(const Jvm::Method& ctor, std::va_list args) {
  ObjectPtr object = instance(ctor.className);
  if (ctor.signature == "(J)V") {
    object->number = va_arg(args, jlong);
  } else if (ctor.signature != "()V") {
    object->number = va_arg(args, jint);
  }
  return object;
}

}  // namespace fakejvm
