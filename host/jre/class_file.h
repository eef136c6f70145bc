#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace jre {

/// Where the parts of a class file are, as far as adding a method requires.
///
/// Refers to the bytes that it was made from; they must outlive it.
class ClassFile {
 public:
  /// Walks the whole file. Nothing, if a length or an index in it leads astray or bytes remain.
  static std::optional<ClassFile> parse(std::span<const std::uint8_t> bytes);

  std::uint16_t constantCount() const { return constantCount_; }  ///< one more than the last index
  std::size_t constantsEnd() const { return constantsEnd_; }
  std::uint16_t thisClass() const { return thisClass_; }  ///< index of a class constant
  std::uint16_t methodCount() const { return methodCount_; }
  std::size_t methodCountOffset() const { return methodCountOffset_; }
  std::size_t methodsEnd() const { return methodsEnd_; }

  bool hasMethod(std::string_view name, std::string_view descriptor) const;

 private:
  struct Method {
    std::string_view name;
    std::string_view descriptor;
  };

  std::uint16_t constantCount_ = 0;
  std::size_t constantsEnd_ = 0;
  std::uint16_t thisClass_ = 0;
  std::uint16_t methodCount_ = 0;
  std::size_t methodCountOffset_ = 0;
  std::size_t methodsEnd_ = 0;
  std::vector<Method> methods_;
};

}  // namespace jre
