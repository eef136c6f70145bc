#include "zelicu.h"

#include <unicode/ucnv_err.h>
#include <unicode/utypes.h>

#include <vector>

#include "agentfw/ras1.h"

RAS1_UNIT("ZELICU");

namespace {

ZelMutex s_convertersMutex;
std::vector<ZelUniConverter*> s_converters GUARDED_BY(s_convertersMutex);  // never shrinks

UConverter* openConverter(const char* codepage) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* handle = ucnv_open(codepage, &status);
  if (handle != nullptr) {
    // Malformed input is an error; ICU would put substitution characters in its place.
    status = U_ZERO_ERROR;
    ucnv_setToUCallBack(handle, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  }
  return handle;
}

// Whether a conversion only wants a larger buffer. Any other failure is traced.
bool wantsMoreRoom(UErrorCode status, const char* operation, const RAS1_Entry& ras1Entry) {
  if (status == U_BUFFER_OVERFLOW_ERROR) {
    return true;
  }
  RAS1_PRINT("ERROR: %s() failed (rc %i), %s", operation, static_cast<int>(status),
             u_errorName(status));
  return false;
}

}  // namespace

ZelUniConverter::ZelUniConverter(const char* codepage)
    : handle(openConverter(codepage)), name(codepage == nullptr ? "" : codepage) {}

ZelUniConverter::~ZelUniConverter() {
  if (handle != nullptr) {
    ucnv_close(handle);
  }
}

ZelUniConverter* ZelUniConverter::getInstance(const char* codepage) {
  ZelAutoMutex lock(s_convertersMutex);
  const char* wanted = codepage == nullptr ? "" : codepage;
  for (ZelUniConverter* converter : s_converters) {
    if (ucnv_compareNames(converter->name.c_str(), wanted) == 0) {
      return converter;
    }
  }
  s_converters.reserve(s_converters.size() + 1);
  s_converters.push_back(new ZelUniConverter(*wanted == '\0' ? nullptr : wanted));
  return s_converters.back();
}

bool ZelUniConverter::toUnicode(icu::UnicodeString& out, const char* bytes, unsigned length) {
  RAS1_FUNCTION();
  if (handle == nullptr) {
    return false;
  }
  try {
    std::int32_t capacity = static_cast<std::int32_t>(length) + 1;
    while (true) {
      UErrorCode status = U_ZERO_ERROR;
      std::int32_t needed = 0;
      char16_t* buffer = out.getBuffer(capacity);
      {
        ZelAutoMutex lock(mutex);
        needed = ucnv_toUChars(handle, buffer, capacity, bytes, static_cast<std::int32_t>(length),
                               &status);
      }
      if (U_SUCCESS(status)) {
        out.releaseBuffer(needed);
        return true;
      }
      out.releaseBuffer(0);
      if (!wantsMoreRoom(status, "ucnv_toUChars", ras1Entry)) {
        return false;
      }
      capacity = needed + 1;
    }
  } catch (...) {
    RAS1_PRINT("ERROR: unknown exception");
    return false;
  }
}

bool ZelUniConverter::fromUnicode(std::string& out, const icu::UnicodeString& in) {
  RAS1_FUNCTION();
  if (handle == nullptr) {
    return false;
  }
  try {
    std::int32_t capacity = in.length() + 1;
    while (true) {
      UErrorCode status = U_ZERO_ERROR;
      std::int32_t needed = 0;
      ZelArray<char> buffer(static_cast<unsigned>(capacity));
      {
        ZelAutoMutex lock(mutex);
        // The text's buffer is null while the text is bogus; its length is 0 then.
        needed = ucnv_fromUChars(handle, buffer, capacity, in.getBuffer(), in.length(), &status);
      }
      if (U_SUCCESS(status)) {
        out.assign(buffer, static_cast<std::size_t>(needed));
        return true;
      }
      if (!wantsMoreRoom(status, "ucnv_fromUChars", ras1Entry)) {
        out.clear();
        return false;
      }
      capacity = needed + 1;
    }
  } catch (...) {
    RAS1_PRINT("ERROR: unknown exception");
    return false;
  }
}

bool zelUtf8ToDefault(std::string& out, const char* bytes, unsigned length) {
  icu::UnicodeString text;
  return ZelUniConverter::getInstance("UTF8")->toUnicode(text, bytes, length) &&
         ZelUniConverter::getInstance(nullptr)->fromUnicode(out, text);
}

const char* ZelUniConverter::getStandardName() {
  if (handle == nullptr) {
    return nullptr;
  }
  UErrorCode status = U_ZERO_ERROR;
  return ucnv_getStandardName(ucnv_getName(handle, &status), "IANA", &status);
}
