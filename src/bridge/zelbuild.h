#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <type_traits>

#include "bridge/zelcoll.h"
#include "bridge/zelexc.h"

template <typename T>
concept ZelPrimitiveType = std::same_as<T, int> || std::same_as<T, long long> ||
    std::same_as<T, bool> || std::same_as<T, std::string>;

/// Puts a child under a key; a child that is rejected, because the key is taken, is freed.
inline void zelPut(ZelMap& map, int key, std::unique_ptr<ZelData> child) {
  if (map.entries.emplace(key, child.get()).second) {
    static_cast<void>(child.release());
  }
}

/// Puts a new primitive of the kind T under a key: `zelPut<int>(map, 0, 5)`. T is never deduced, so
/// that no argument becomes a primitive by accident.
template <ZelPrimitiveType T>
void zelPut(ZelMap& map, int key, const std::type_identity_t<T>& value) {
  zelPut(map, key, std::unique_ptr<ZelData>(new TZelPrimitive<T>(value)));
}

/// Appends a child to a list.
inline void zelAppend(ZelList& list, std::unique_ptr<ZelData> child) {
  list.items.push_back(child.get());
  static_cast<void>(child.release());
}

/// An element of a received list; a null one is a protocol error and throws ZelException.
inline const ZelData& zelElement(const ZelData* element) {
  if (element == nullptr) {
    ZEL_THROW();
  }
  return *element;
}
