// Text of Java at the framework's border.

#include "basic/utf8.h"
#include "fuzz/fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::textOf(data, size);
  const std::string converted = fw::fromModifiedUtf8(text);
  fuzz::check(fw::isValidUtf8(converted), "what comes out is UTF-8");
  fuzz::check(!fw::isValidUtf8(text) || converted == text, "UTF-8 stays as it is");
  fuzz::check(fw::fromModifiedUtf8(converted) == converted, "twice gives the same");
  for (std::size_t most = 0; most <= converted.size() && most < 64; ++most) {
    const std::string_view cut = fw::cutUtf8(converted, most);
    fuzz::check(cut.size() <= most && fw::isValidUtf8(cut), "a cut is UTF-8 and fits");
    fuzz::check(cut.size() + 4 > most, "a cut takes off less than a character");
  }
  fw::cutUtf8(text, size / 2);
  return 0;
}
