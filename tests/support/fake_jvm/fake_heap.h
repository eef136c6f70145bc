#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#define FAKEJVM_API __attribute__((visibility("default")))

namespace fakejvm {

struct Object;
using ObjectPtr = std::shared_ptr<Object>;  ///< null is Java's null

/// A Java object of the fake JVM. Which fields count depends on the class.
struct Object {
  std::string className;         ///< "java/lang/Integer"
  long long number = 0;          ///< Integer, Long, Boolean
  std::string text;              ///< String, byte[]; a throwable's message; a class's name
  std::vector<ObjectPtr> items;  ///< ArrayList; what an iterator gives; an entry's key and value
  std::vector<std::pair<ObjectPtr, ObjectPtr>> entries;  ///< HashMap, in the order of insertion
  std::size_t position = 0;                              ///< of an iterator
};

FAKEJVM_API ObjectPtr instance(const std::string& className);
FAKEJVM_API ObjectPtr integer(int value);
FAKEJVM_API ObjectPtr longInteger(long long value);
FAKEJVM_API ObjectPtr boolean(bool value);
FAKEJVM_API ObjectPtr string(const std::string& modifiedUtf8);
FAKEJVM_API ObjectPtr bytes(const std::string& value);
FAKEJVM_API ObjectPtr list(std::vector<ObjectPtr> items);
FAKEJVM_API ObjectPtr map(std::vector<std::pair<ObjectPtr, ObjectPtr>> entries);
FAKEJVM_API ObjectPtr throwable(const std::string& className, const std::string& message);
FAKEJVM_API ObjectPtr classObject(const std::string& name);

/// The object in one line, every kind told apart: 5, 5L, true, "text", x'6162' (bytes), [1, 2],
/// {0: "a"}, null, class NAME; other objects by their class name.
FAKEJVM_API std::string describe(const ObjectPtr& object);

/// Whether the object's class is `className`, derives from it or implements it.
bool isInstance(const Object& object, const std::string& className);

/// Java's equals() for keys of a map.
bool areEqual(const ObjectPtr& left, const ObjectPtr& right);

}  // namespace fakejvm
