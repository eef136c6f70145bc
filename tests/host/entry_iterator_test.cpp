#include "jre/entry_iterator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "jre/class_file.h"

namespace jre {
namespace {

using Bytes = std::vector<std::uint8_t>;

void add(Bytes& bytes, std::initializer_list<int> more) {
  for (const int value : more) {
    bytes.push_back(static_cast<std::uint8_t>(value));
  }
}

void addText(Bytes& bytes, const std::string& text) {
  add(bytes, {1, 0, static_cast<int>(text.size())});
  bytes.insert(bytes.end(), text.begin(), text.end());
}

/// A class with a constant of every kind, a field and one method, each with an attribute.
Bytes classWithMethod(const std::string& name, const std::string& descriptor) {
  Bytes bytes;
  add(bytes, {0xCA, 0xFE, 0xBA, 0xBE, 0, 0, 0, 61, 0, 22});
  addText(bytes, "C");                            // 1
  add(bytes, {7, 0, 1});                          // 2 class
  addText(bytes, name);                           // 3
  addText(bytes, descriptor);                     // 4
  addText(bytes, "A");                            // 5 an attribute's name
  add(bytes, {3, 0, 0, 0, 1});                    // 6 int
  add(bytes, {4, 0, 0, 0, 1});                    // 7 float
  add(bytes, {5, 0, 0, 0, 0, 0, 0, 0, 1});        // 8 long, takes 9 too
  add(bytes, {6, 0, 0, 0, 0, 0, 0, 0, 1});        // 10 double, takes 11 too
  add(bytes, {8, 0, 1});                          // 12 string
  add(bytes, {12, 0, 3, 0, 4});                   // 13 name and type
  add(bytes, {9, 0, 2, 0, 13});                   // 14 field
  add(bytes, {10, 0, 2, 0, 13});                  // 15 method
  add(bytes, {11, 0, 2, 0, 13});                  // 16 interface method
  add(bytes, {15, 6, 0, 15});                     // 17 method handle
  add(bytes, {16, 0, 4});                         // 18 method type
  add(bytes, {17, 0, 0, 0, 13});                  // 19 dynamic
  add(bytes, {18, 0, 0, 0, 13});                  // 20 invoke dynamic
  add(bytes, {19, 0, 1});                         // 21 module
  add(bytes, {0, 0x20, 0, 2, 0, 0, 0, 1, 0, 2});  // access, this, super, one interface
  add(bytes, {0, 1, 0, 0, 0, 3, 0, 4, 0, 1, 0, 5, 0, 0, 0, 1, 9});     // one field
  add(bytes, {0, 1, 0, 0, 0, 3, 0, 4, 0, 1, 0, 5, 0, 0, 0, 2, 8, 8});  // one method
  add(bytes, {0, 1, 0, 5, 0, 0, 0, 0});                                // one attribute of the class
  return bytes;
}

TEST(EntryIteratorTest, AddsTheMethodAndKeepsTheRest) {
  const Bytes before = classWithMethod("size", "()I");

  const RewrittenClass after = addEntryIterator(before);

  ASSERT_EQ(after.outcome, Rewrite::Added);
  const auto file = ClassFile::parse(after.bytes);
  ASSERT_TRUE(file);
  EXPECT_TRUE(file->hasMethod("newEntryIterator", "()Ljava/util/Iterator;"));
  EXPECT_TRUE(file->hasMethod("size", "()I"));
  EXPECT_EQ(file->methodCount(), 2);
  EXPECT_EQ(file->constantCount(), 22 + 12);
  EXPECT_EQ(Bytes(after.bytes.end() - 8, after.bytes.end()), Bytes(before.end() - 8, before.end()))
      << "the attributes of the class";
}

TEST(EntryIteratorTest, LeavesAClassAloneThatHasTheMethod) {
  const auto result =
      addEntryIterator(classWithMethod("newEntryIterator", "()Ljava/util/Iterator;"));

  EXPECT_EQ(result.outcome, Rewrite::AlreadyThere);
  EXPECT_TRUE(result.bytes.empty());
}

TEST(EntryIteratorTest, AddsItBesideAMethodOfTheSameNameWithOtherArguments) {
  const auto result =
      addEntryIterator(classWithMethod("newEntryIterator", "(I)Ljava/util/Iterator;"));

  EXPECT_EQ(result.outcome, Rewrite::Added);
}

TEST(EntryIteratorTest, ChangesTheClassOnlyOnce) {
  const auto once = addEntryIterator(classWithMethod("size", "()I"));

  EXPECT_EQ(addEntryIterator(once.bytes).outcome, Rewrite::AlreadyThere);
}

TEST(EntryIteratorTest, RefusesEveryTruncatedFile) {
  const Bytes whole = classWithMethod("size", "()I");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    // A copy of the exact size, so that a sanitizer sees a read past its end.
    const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(addEntryIterator(part).outcome, Rewrite::NotUnderstood) << size;
  }
}

TEST(EntryIteratorTest, RefusesBytesAfterTheEnd) {
  Bytes bytes = classWithMethod("size", "()I");
  bytes.push_back(0);

  EXPECT_EQ(addEntryIterator(bytes).outcome, Rewrite::NotUnderstood);
}

TEST(EntryIteratorTest, StaysWithinTheFileWhateverAByteHolds) {
  const Bytes whole = classWithMethod("size", "()I");
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const int value : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
      Bytes bytes = whole;
      bytes[at] = static_cast<std::uint8_t>(value);

      const auto result = addEntryIterator(bytes);

      if (result.outcome == Rewrite::Added) {
        EXPECT_TRUE(ClassFile::parse(result.bytes)) << at;
      }
    }
  }
}

TEST(EntryIteratorTest, RefusesAClassWithoutRoomForMoreConstants) {
  Bytes bytes;
  add(bytes, {0xCA, 0xFE, 0xBA, 0xBE, 0, 0, 0, 61, 0xFF, 0xF8});
  addText(bytes, "C");
  add(bytes, {7, 0, 1});
  for (int index = 3; index < 0xFFF8; ++index) {
    add(bytes, {3, 0, 0, 0, 0});
  }
  add(bytes, {0, 0x20, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  ASSERT_TRUE(ClassFile::parse(bytes));

  EXPECT_EQ(addEntryIterator(bytes).outcome, Rewrite::NotUnderstood);
}

}  // namespace
}  // namespace jre
