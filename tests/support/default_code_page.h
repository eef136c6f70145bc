#pragma once

#include <unicode/ucnv.h>

#include <utility>

#include "zelicu.h"

namespace fake {

/// Makes the default converter one of another code page while it lives. ICU itself can't be told
/// to: where it is built for UTF-8 alone, its default never changes.
class DefaultCodePage {
 public:
  explicit DefaultCodePage(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    other = ucnv_open(name, &status);
    std::swap(handle(), other);
  }
  DefaultCodePage(const DefaultCodePage&) = delete;
  DefaultCodePage& operator=(const DefaultCodePage&) = delete;
  ~DefaultCodePage() {
    std::swap(handle(), other);
    ucnv_close(other);
  }

 private:
  // The handle is the converter's first member.
  static UConverter*& handle() {
    return *reinterpret_cast<UConverter**>(ZelUniConverter::getInstance(nullptr));
  }

  UConverter* other;
};

}  // namespace fake
