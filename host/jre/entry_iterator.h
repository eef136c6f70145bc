#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace jre {

enum class Rewrite {
  Added,          ///< the method was added
  AlreadyThere,   ///< the class has the method; nothing is to be done
  NotUnderstood,  ///< not a class file in a form that we know; it must be left alone
};

struct RewrittenClass {
  Rewrite outcome = Rewrite::NotUnderstood;
  std::vector<std::uint8_t> bytes;  ///< the new class file; empty unless something was added
};

/// Adds the method `java.util.Iterator newEntryIterator()`, package-private, to the class file of
/// java.util.HashMap. It returns `entrySet().iterator()`, and so serves subclasses too.
///
/// Reads nothing outside `classFile`, whatever that holds. May be called before the virtual
/// machine runs any Java code.
RewrittenClass addEntryIterator(std::span<const std::uint8_t> classFile);

}  // namespace jre
