#include "bridge/zelcoll.h"

#include <typeinfo>

#include "agentfw/ras1.h"
#include "bridge/zelexc.h"

RAS1_UNIT("ZELCOLL");

namespace {

// Exactly the class named: an int is no long, whatever their sizes.
template <typename Kind, typename Data>
Kind& as(Data& data) {
  if (typeid(data) != typeid(Kind)) {
    throw std::bad_cast();
  }
  return static_cast<Kind&>(data);
}

}  // namespace

int ZelData::toInt() const { return as<const TZelPrimitive<int>>(*this).getValue(); }

long long ZelData::toLong() const { return as<const TZelPrimitive<long long>>(*this).getValue(); }

bool ZelData::toBool() const { return as<const TZelPrimitive<bool>>(*this).getValue(); }

const std::string& ZelData::toString() const {
  return as<const TZelPrimitive<std::string>>(*this).getValue();
}

const std::string& ZelData::toByteArray() const { return as<const ZelByteArray>(*this).getValue(); }

const ZelMap& ZelData::toMap() const { return as<const ZelMap>(*this); }

ZelMap& ZelData::toMap() { return as<ZelMap>(*this); }

const ZelList& ZelData::toList() const { return as<const ZelList>(*this); }

ZelList& ZelData::toList() { return as<ZelList>(*this); }

template <>
void TZelPrimitive<int>::accept(ZelDataVisitor& visitor) const {
  visitor.visitInt(*this);
}

template <>
void TZelPrimitive<long long>::accept(ZelDataVisitor& visitor) const {
  visitor.visitLong(*this);
}

template <>
void TZelPrimitive<bool>::accept(ZelDataVisitor& visitor) const {
  visitor.visitBool(*this);
}

template <>
void TZelPrimitive<std::string>::accept(ZelDataVisitor& visitor) const {
  visitor.visitString(*this);
}

ZelList::~ZelList() {
  for (ZelData* item : items) {
    delete item;
  }
}

ZelData* ZelList::detach(unsigned int index) {
  if (index >= items.size() || items[index] == nullptr) {
    ZEL_THROW();
  }
  ZelData* item = items[index];
  items.erase(items.begin() + index);
  return item;
}

ZelMap::~ZelMap() {
  for (const auto& [key, child] : entries) {
    delete child;
  }
}

ZelData& ZelMap::get(int key) const {
  const auto found = entries.find(key);
  if (found != entries.end() && found->second != nullptr) [[likely]] {
    return *found->second;
  }
  RAS1_FLOW();
  if (found == entries.end()) {
    RAS1_PRINT("ERROR: Invalid key %i", key);
  } else {
    RAS1_PRINT("ERROR: Key %i refers to NULL value", key);
  }
  ZEL_THROW();
}

ZelData* ZelMap::detach(int key) {
  const auto found = entries.find(key);
  if (found == entries.end() || found->second == nullptr) {
    ZEL_THROW();
  }
  ZelData* child = found->second;
  entries.erase(found);
  return child;
}
