#include <filesystem>
#include <vector>

#include "child_process.h"
#include "jre/class_file.h"
#include "jre/entry_iterator.h"
#include "jvm_test_support.h"
#include "temp_root.h"

namespace {

class EntryIteratorJvmTest : public InEveryJvm {
 protected:
  std::vector<std::uint8_t> hashMapClass() {
    const auto path = files.root() / "HashMap.class";
    ChildProcess dump(probe("dump", path.string()));
    EXPECT_EQ(dump.wait(), 0) << dump.output() << dump.errors();
    const std::string text = readFile(path);
    return {text.begin(), text.end()};
  }

  TempRoot files;
};

INSTANTIATE_TEST_SUITE_P(All, EntryIteratorJvmTest, testing::ValuesIn(jvmsToTest()), jvmName);

TEST_P(EntryIteratorJvmTest, TheClassLibraryLacksTheMethod) {
  ChildProcess process(probe("iterator", "java/util/HashMap"));

  EXPECT_EQ(process.wait(), 0);
  EXPECT_EQ(process.output(), "java/util/HashMap has no newEntryIterator\n");
}

TEST_P(EntryIteratorJvmTest, TheAgentGivesTheMethodToHashMapAndItsSubclasses) {
  for (const std::string name : {"java/util/HashMap", "java/util/LinkedHashMap"}) {
    ChildProcess process(
        probe("iterator", name, {agentOption(), "-Xverify:all", "-Xcheck:jni", "-Xrs"}));

    EXPECT_EQ(process.wait(), 0) << process.errors();
    EXPECT_NE(process.output().find(name + " walks over 3 entries\n"), std::string::npos)
        << process.output();
    EXPECT_EQ(process.output().find("FATAL"), std::string::npos) << process.output();
    EXPECT_EQ(process.errors().find("libzeljre"), std::string::npos) << process.errors();
  }
}

TEST_P(EntryIteratorJvmTest, TheAgentIsQuietInAnOrdinaryJavaProgram) {
  const std::string java =
      std::filesystem::path(GetParam().library).parent_path().parent_path().parent_path().string() +
      "/bin/java";
  ChildProcess process({java, agentOption(), "-Xverify:all", "-version"});

  EXPECT_EQ(process.wait(), 0) << process.output() << process.errors();
  EXPECT_EQ(process.errors().find("libzeljre"), std::string::npos) << process.errors();
}

TEST_P(EntryIteratorJvmTest, TheRealClassGainsOneMethodAndTwelveConstants) {
  const auto before = hashMapClass();

  const auto after = jre::addEntryIterator(before);

  ASSERT_EQ(after.outcome, jre::Rewrite::Added);
  const auto old = jre::ClassFile::parse(before);
  const auto made = jre::ClassFile::parse(after.bytes);
  ASSERT_TRUE(old && made);
  EXPECT_EQ(made->methodCount(), old->methodCount() + 1);
  EXPECT_EQ(made->constantCount(), old->constantCount() + 12);
  EXPECT_TRUE(made->hasMethod("newEntryIterator", "()Ljava/util/Iterator;"));
  EXPECT_TRUE(made->hasMethod("entrySet", "()Ljava/util/Set;"));
}

TEST_P(EntryIteratorJvmTest, ATruncatedRealClassIsRefused) {
  const auto whole = hashMapClass();
  for (std::size_t size = 0; size < whole.size(); size += size < 4096 ? 1 : 97) {
    const std::vector<std::uint8_t> part(whole.begin(),
                                         whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(jre::addEntryIterator(part).outcome, jre::Rewrite::NotUnderstood) << size;
  }
}

}  // namespace
