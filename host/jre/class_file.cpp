#include "jre/class_file.h"

namespace jre {
namespace {

constexpr std::uint32_t kMagic = 0xCAFEBABE;

enum ConstantTag : std::uint8_t {
  kUtf8 = 1,
  kInteger = 3,
  kFloat = 4,
  kLong = 5,
  kDouble = 6,
  kClass = 7,
  kString = 8,
  kFieldref = 9,
  kMethodref = 10,
  kInterfaceMethodref = 11,
  kNameAndType = 12,
  kMethodHandle = 15,
  kMethodType = 16,
  kDynamic = 17,
  kInvokeDynamic = 18,
  kModule = 19,
  kPackage = 20,
};

/// Big-endian reader. Past the end it gives zeros and stays failed.
class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  bool failed() const { return failed_; }
  bool atEnd() const { return !failed_ && position_ == bytes_.size(); }
  std::size_t position() const { return position_; }

  std::uint8_t u1() { return static_cast<std::uint8_t>(number(1)); }
  std::uint16_t u2() { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u4() { return number(4); }

  std::string_view text(std::size_t length) {
    const std::size_t start = position_;
    skip(length);
    return failed_ ? std::string_view{}
                   : std::string_view(reinterpret_cast<const char*>(bytes_.data()) + start, length);
  }

  void skip(std::size_t length) {
    if (failed_ || length > bytes_.size() - position_) {
      failed_ = true;
      return;
    }
    position_ += length;
  }

 private:
  std::uint32_t number(std::size_t size) {
    const std::size_t start = position_;
    skip(size);
    std::uint32_t value = 0;
    for (std::size_t i = 0; !failed_ && i < size; ++i) {
      value = value << 8 | bytes_[start + i];
    }
    return value;
  }

  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;
  bool failed_ = false;
};

struct Constant {
  std::uint8_t tag = 0;   // 0 in the unused slots: the first, and the second of a wide number
  std::string_view text;  // of a Utf8 constant
};

/// Reads the constant at `index`; returns how many slots it takes, 0 when its tag is unknown.
int readConstant(Reader& in, Constant& constant) {
  constant.tag = in.u1();
  switch (constant.tag) {
    case kUtf8:
      constant.text = in.text(in.u2());
      return 1;
    case kLong:
    case kDouble:
      in.skip(8);
      return 2;
    case kClass:
    case kString:
    case kMethodType:
    case kModule:
    case kPackage:
      in.skip(2);
      return 1;
    case kMethodHandle:
      in.skip(3);
      return 1;
    case kInteger:
    case kFloat:
    case kFieldref:
    case kMethodref:
    case kInterfaceMethodref:
    case kNameAndType:
    case kDynamic:
    case kInvokeDynamic:
      in.skip(4);
      return 1;
    default:
      return 0;
  }
}

void skipAttributes(Reader& in) {
  for (std::uint16_t left = in.u2(); left > 0 && !in.failed(); --left) {
    in.skip(2);
    in.skip(in.u4());
  }
}

}  // namespace

std::optional<ClassFile> ClassFile::parse(std::span<const std::uint8_t> bytes) {
  Reader in(bytes);
  ClassFile file;
  if (in.u4() != kMagic) {
    return std::nullopt;
  }
  in.skip(4);  // versions

  file.constantCount_ = in.u2();
  std::vector<Constant> constants(file.constantCount_);
  for (std::size_t index = 1; index < constants.size();) {
    const int slots = readConstant(in, constants[index]);
    if (slots == 0 || in.failed()) {
      return std::nullopt;
    }
    index += static_cast<std::size_t>(slots);
  }
  file.constantsEnd_ = in.position();

  in.skip(2);  // access flags
  file.thisClass_ = in.u2();
  if (file.thisClass_ >= constants.size() || constants[file.thisClass_].tag != kClass) {
    return std::nullopt;
  }
  in.skip(2);                                                    // super class
  in.skip(std::size_t{2} * in.u2());                             // interfaces
  for (auto left = in.u2(); left > 0 && !in.failed(); --left) {  // fields
    in.skip(6);
    skipAttributes(in);
  }

  file.methodCountOffset_ = in.position();
  file.methodCount_ = in.u2();
  for (auto left = file.methodCount_; left > 0 && !in.failed(); --left) {
    in.skip(2);
    const std::uint16_t name = in.u2();
    const std::uint16_t descriptor = in.u2();
    if (name >= constants.size() || descriptor >= constants.size()) {
      return std::nullopt;
    }
    file.methods_.push_back({constants[name].text, constants[descriptor].text});
    skipAttributes(in);
  }
  file.methodsEnd_ = in.position();
  skipAttributes(in);
  if (!in.atEnd()) {
    return std::nullopt;
  }
  return file;
}

bool ClassFile::hasMethod(std::string_view name, std::string_view descriptor) const {
  for (const Method& method : methods_) {
    if (method.name == name && method.descriptor == descriptor) {
      return true;
    }
  }
  return false;
}

}  // namespace jre
