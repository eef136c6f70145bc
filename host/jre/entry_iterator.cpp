#include "jre/entry_iterator.h"

#include <limits>
#include <string_view>

#include "jre/class_file.h"

namespace jre {
namespace {

constexpr std::string_view kName = "newEntryIterator";
constexpr std::string_view kDescriptor = "()Ljava/util/Iterator;";

class Writer {
 public:
  void u1(std::uint8_t value) { bytes_.push_back(value); }
  void u2(std::size_t value) {
    u1(static_cast<std::uint8_t>(value >> 8));
    u1(static_cast<std::uint8_t>(value));
  }
  void u4(std::size_t value) {
    u2(value >> 16);
    u2(value & 0xFFFF);
  }
  void append(std::span<const std::uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  }
  std::vector<std::uint8_t> take() { return std::move(bytes_); }

 private:
  std::vector<std::uint8_t> bytes_;
};

/// New constants, numbered on from those that the class has. Each call returns the new index.
class Constants {
 public:
  explicit Constants(std::size_t firstIndex) : next_(firstIndex) {}

  std::size_t utf8(std::string_view text) {
    out_.u1(1);
    out_.u2(text.size());
    out_.append({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    return next_++;
  }
  std::size_t classRef(std::string_view name) {
    const std::size_t nameIndex = utf8(name);
    out_.u1(7);
    out_.u2(nameIndex);
    return next_++;
  }
  std::size_t nameAndType(std::size_t name, std::size_t descriptor) {
    return pair(12, name, descriptor);
  }
  std::size_t methodRef(std::size_t owner, std::size_t method) { return pair(10, owner, method); }
  std::size_t interfaceMethodRef(std::size_t owner, std::size_t method) {
    return pair(11, owner, method);
  }

  std::size_t count() const { return next_; }
  std::vector<std::uint8_t> take() { return out_.take(); }

 private:
  std::size_t pair(std::uint8_t tag, std::size_t first, std::size_t second) {
    out_.u1(tag);
    out_.u2(first);
    out_.u2(second);
    return next_++;
  }

  std::size_t next_;
  Writer out_;
};

}  // namespace

RewrittenClass addEntryIterator(std::span<const std::uint8_t> classFile) {
  const auto file = ClassFile::parse(classFile);
  if (!file) {
    return {};
  }
  if (file->hasMethod(kName, kDescriptor)) {
    return {Rewrite::AlreadyThere, {}};
  }

  Constants constants(file->constantCount());
  const auto name = constants.utf8(kName);
  const auto descriptor = constants.utf8(kDescriptor);
  const auto code = constants.utf8("Code");
  const auto entrySet = constants.methodRef(
      file->thisClass(),
      constants.nameAndType(constants.utf8("entrySet"), constants.utf8("()Ljava/util/Set;")));
  const auto set = constants.classRef("java/util/Set");
  const auto iterator = constants.interfaceMethodRef(
      set, constants.nameAndType(constants.utf8("iterator"), descriptor));
  constexpr std::size_t kMaxCount = std::numeric_limits<std::uint16_t>::max();
  if (constants.count() > kMaxCount || file->methodCount() >= kMaxCount) {
    return {};
  }

  // There is no branch in it, so the verifier asks for no stack map.
  Writer body;
  body.u1(0x2A);  // aload_0
  body.u1(0xB6);  // invokevirtual
  body.u2(entrySet);
  body.u1(0xB9);  // invokeinterface, one argument slot
  body.u2(iterator);
  body.u1(1);
  body.u1(0);
  body.u1(0xB0);  // areturn
  const std::vector<std::uint8_t> instructions = body.take();

  Writer method;
  method.u2(0);  // access: package-private
  method.u2(name);
  method.u2(descriptor);
  method.u2(1);  // one attribute, the code
  method.u2(code);
  method.u4(12 + instructions.size());
  method.u2(1);  // stack
  method.u2(1);  // locals
  method.u4(instructions.size());
  method.append(instructions);
  method.u2(0);  // exception table
  method.u2(0);  // attributes of the code

  constexpr std::size_t kConstantCountOffset = 8;
  const auto slice = [&](std::size_t from, std::size_t to) {
    return classFile.subspan(from, to - from);
  };
  Writer out;
  out.append(slice(0, kConstantCountOffset));
  out.u2(constants.count());
  out.append(slice(kConstantCountOffset + 2, file->constantsEnd()));
  out.append(constants.take());
  out.append(slice(file->constantsEnd(), file->methodCountOffset()));
  out.u2(file->methodCount() + std::size_t{1});
  out.append(slice(file->methodCountOffset() + 2, file->methodsEnd()));
  out.append(method.take());
  out.append(slice(file->methodsEnd(), classFile.size()));
  return {Rewrite::Added, out.take()};
}

}  // namespace jre
