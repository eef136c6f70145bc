#pragma once

#include <unicode/ucnv.h>
#include <unicode/unistr.h>

#include <string>

#include "zelthread.h"

/// A converter between the bytes of one code page and Unicode, shared by the whole process.
///
/// Any thread may use any instance. Instances live until the process ends.
class ZelUniConverter {
 public:
  ZelUniConverter(const ZelUniConverter&) = delete;
  ZelUniConverter& operator=(const ZelUniConverter&) = delete;
  ~ZelUniConverter();

  /// The converter of a code page; null or the empty text asks for the process's default one.
  /// Spelling variants of one name share an instance. Never null: the instance of an unknown code
  /// page fails every conversion, without a message.
  static ZelUniConverter* getInstance(const char* codepage);

  /// Decodes exactly `length` bytes. False, with `out` empty, when they are malformed; traced.
  bool toUnicode(icu::UnicodeString& out, const char* bytes, unsigned length);

  /// Encodes a text; characters that the code page lacks are substituted. False, with `out` empty,
  /// when ICU fails; traced.
  bool fromUnicode(std::string& out, const icu::UnicodeString& in);

  /// The IANA name of the code page; null when it has none.
  const char* getStandardName();

 private:
  explicit ZelUniConverter(const char* codepage);

  UConverter* handle PT_GUARDED_BY(mutex);  // null when the code page is unknown
  ZelMutex mutex;
  std::string name;  // empty: the default converter
};

/// Converts UTF-8 bytes, which may be `out`'s own, to the process's default code page. False, with
/// `out` as it was, when the bytes are malformed; false, with `out` empty, when they can't be
/// encoded.
bool zelUtf8ToDefault(std::string& out, const char* bytes, unsigned length);
