#pragma once

#include <map>
#include <string>
#include <type_traits>
#include <vector>

class ZelByteArray;
class ZelList;
class ZelMap;
template <typename T>
class TZelPrimitive;

/// Receives one value of the tree. A visit does not descend: visitors of collections do that.
class ZelDataVisitor {
 public:
  virtual void visitInt(const TZelPrimitive<int>& value) = 0;
  virtual void visitLong(const TZelPrimitive<long long>& value) = 0;
  virtual void visitBool(const TZelPrimitive<bool>& value) = 0;
  virtual void visitString(const TZelPrimitive<std::string>& value) = 0;
  virtual void visitByteArray(const ZelByteArray& value) = 0;
  virtual void visitList(const ZelList& value) = 0;
  virtual void visitMap(const ZelMap& value) = 0;

 protected:
  ~ZelDataVisitor() = default;  // visitors are never deleted through this interface
};

/// A value of a message: a primitive or a collection that owns its children.
///
/// A tree belongs to one thread at a time and is handed over whole; there are no locks. The
/// accessors never convert: a value of another kind throws std::bad_cast.
class ZelData {
 public:
  ZelData() = default;
  ZelData(const ZelData&) = delete;
  ZelData& operator=(const ZelData&) = delete;

  // Virtual operations. Their order is binary interface: append, never move.
  virtual ~ZelData() = default;
  virtual void accept(ZelDataVisitor& visitor) const = 0;

  int toInt() const;
  long long toLong() const;
  bool toBool() const;
  const std::string& toString() const;
  const std::string& toByteArray() const;  ///< the bytes, zeros included
  const ZelMap& toMap() const;
  ZelMap& toMap();
  const ZelList& toList() const;
  ZelList& toList();
};

class ZelPrimitive : public ZelData {};

/// One int, long long, bool or std::string (bytes in the agent's code page).
template <typename T>
class TZelPrimitive final : public ZelPrimitive {
 public:
  using Value = std::conditional_t<std::is_same_v<T, std::string>, const std::string&, T>;

  explicit TZelPrimitive(const T& initial) : value(initial) {}

  void accept(ZelDataVisitor& visitor) const override;
  Value getValue() const { return value; }

 private:
  const T value;
};

/// A byte string; may contain zeros.
class ZelByteArray final : public ZelPrimitive {
 public:
  explicit ZelByteArray(std::string initial) : bytes(std::move(initial)) {}

  void accept(ZelDataVisitor& visitor) const override { visitor.visitByteArray(*this); }
  const std::string& getValue() const { return bytes; }

 private:
  const std::string bytes;
};

class ZelCollection : public ZelData {};

/// An ordered list of owned children; null children are allowed.
class ZelList final : public ZelCollection {
 public:
  ~ZelList() override;
  void accept(ZelDataVisitor& visitor) const override { visitor.visitList(*this); }

  /// Takes the element out; the caller owns it. Throws ZelException when there is none.
  ZelData* detach(unsigned int index);

  std::vector<ZelData*> items;  ///< owned; add with push_back
};

/// Owned children by integer key; null children are allowed.
class ZelMap final : public ZelCollection {
 public:
  ~ZelMap() override;
  void accept(ZelDataVisitor& visitor) const override { visitor.visitMap(*this); }

  /// The child of a key. Throws ZelException, and traces why, when it is missing or null.
  ZelData& get(int key) const;

  /// Takes the child out; the caller owns it. Throws ZelException when it is missing or null.
  ZelData* detach(int key);

  std::map<int, ZelData*> entries;  ///< owned; a rejected insert leaves the child with the inserter
};
