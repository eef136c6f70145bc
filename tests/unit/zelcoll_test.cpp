#include "bridge/zelcoll.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>

#include "bridge/zelbuild.h"
#include "bridge/zelexc.h"
#include "support/trace_view.h"

namespace {

class ZelCollTest : public testing::Test {
 protected:
  void SetUp() override { framework.reset(); }
  fake::Framework& framework = fake::Framework::get();
};

// A child that counts its own deletion.
class Counted : public ZelData {
 public:
  explicit Counted(int& deletions) : count(deletions) {}
  ~Counted() override { ++count; }
  void accept(ZelDataVisitor& /*visitor*/) const override {}

 private:
  int& count;
};

TEST_F(ZelCollTest, DeletingAMapDeletesEveryLevelAndLeaf) {
  int deletions = 0;
  auto top = std::make_unique<ZelMap>();
  auto middle = std::make_unique<ZelList>();
  auto inner = std::make_unique<ZelMap>();
  zelPut(*inner, 1, std::make_unique<Counted>(deletions));
  zelAppend(*middle, std::move(inner));
  zelAppend(*middle, std::make_unique<Counted>(deletions));
  zelPut(*top, 5, std::move(middle));
  zelPut(*top, 6, std::make_unique<Counted>(deletions));

  top.reset();

  EXPECT_EQ(deletions, 3);
}

TEST_F(ZelCollTest, NullChildrenAreAllowedInBothCollections) {
  auto list = std::make_unique<ZelList>();
  list->items.push_back(nullptr);
  auto map = std::make_unique<ZelMap>();
  map->entries[1] = nullptr;
  map->entries[2] = list.release();

  EXPECT_NO_THROW(map.reset());
}

TEST_F(ZelCollTest, GetReturnsTheChild) {
  ZelMap map;
  zelPut<int>(map, 7, 41);

  EXPECT_EQ(map.get(7).toInt(), 41);
  EXPECT_TRUE(framework.messages().empty());
}

TEST_F(ZelCollTest, GetOfAMissingKeyTracesTheKeyAndThrowsCodeOne) {
  const ZelMap map;

  try {
    map.get(9);
    FAIL();
  } catch (const ZelException& e) {
    EXPECT_EQ(e.code, 1);
    EXPECT_EQ(e.file, "zelcoll.cpp");
    EXPECT_GT(e.line, 0u);
  }
  EXPECT_THAT(framework.messages(), testing::ElementsAre("ERROR: Invalid key 9"));
}

TEST_F(ZelCollTest, GetOfANullChildReportsNullAndNotAnInvalidKey) {
  ZelMap map;
  map.entries[3] = nullptr;

  EXPECT_THROW(map.get(3), ZelException);
  EXPECT_THAT(framework.messages(), testing::ElementsAre("ERROR: Key 3 refers to NULL value"));
}

TEST_F(ZelCollTest, AFailedGetIsPrecededByAnEntryEventInTheFlowClassOnly) {
  ZelMap map;
  map.entries[3] = nullptr;
  const std::pair<int, const char*> cases[] = {{9, "ERROR: Invalid key 9"},
                                               {3, "ERROR: Key 3 refers to NULL value"}};
  for (const auto& [key, message] : cases) {
    framework.reset();
    framework.setMask("ZELCOLL", kRas1Flow);

    EXPECT_THROW(map.get(key), ZelException);

    const auto trace = framework.trace();
    ASSERT_GE(trace.size(), 2u);
    EXPECT_EQ(trace[0].unit + " " + trace[0].function + " " + trace[0].text, "ZELCOLL get entry");
    EXPECT_EQ(trace[1].text, message);

    framework.reset();
    framework.setAllMasks(fake::allBut(kRas1Flow));
    EXPECT_THROW(map.get(key), ZelException);
    ASSERT_EQ(framework.trace().size(), 1u);
    EXPECT_EQ(framework.trace()[0].text, message);
  }
}

/// The code of the ZelException that `action` throws; 0 when it throws none.
template <typename Action>
int codeThrownBy(Action&& action) {
  try {
    action();
    return 0;
  } catch (const ZelException& e) {
    return e.code;
  }
}

TEST_F(ZelCollTest, EveryFailedReadThrowsCodeOne) {
  ZelMap map;
  map.entries[2] = nullptr;
  ZelList list;
  list.items.push_back(nullptr);

  EXPECT_EQ(codeThrownBy([&] { map.get(2); }), 1);
  EXPECT_EQ(codeThrownBy([&] { map.detach(1); }), 1);
  EXPECT_EQ(codeThrownBy([&] { map.detach(2); }), 1);
  EXPECT_EQ(codeThrownBy([&] { list.detach(0); }), 1);
  EXPECT_EQ(codeThrownBy([&] { list.detach(1); }), 1);
}

TEST_F(ZelCollTest, DetachTracesNothingInAnyClass) {
  framework.setAllMasks(0xFF);
  ZelMap map;
  map.entries[2] = nullptr;
  ZelList list;
  list.items.push_back(nullptr);

  EXPECT_THROW(map.detach(1), ZelException);
  EXPECT_THROW(map.detach(2), ZelException);
  EXPECT_THROW(list.detach(0), ZelException);
  EXPECT_THROW(list.detach(1), ZelException);

  EXPECT_TRUE(framework.trace().empty());
}

TEST_F(ZelCollTest, AMapDetachesAChildWhichIsMissingThen) {
  ZelMap map;
  zelPut<int>(map, 1, 11);

  const std::unique_ptr<ZelData> child(map.detach(1));

  EXPECT_EQ(child->toInt(), 11);
  EXPECT_THROW(map.get(1), ZelException);
  EXPECT_TRUE(framework.hasMessage("ERROR: Invalid key 1"));
}

TEST_F(ZelCollTest, DetachOfAMissingOrNullChildThrowsWithoutATraceAndChangesNothing) {
  ZelMap map;
  map.entries[2] = nullptr;

  EXPECT_THROW(map.detach(1), ZelException);
  EXPECT_THROW(map.detach(2), ZelException);
  EXPECT_TRUE(framework.messages().empty());
  EXPECT_EQ(map.entries.size(), 1u);
}

TEST_F(ZelCollTest, DetachOfTheLastOfThreeElementsReturnsItAndLeavesTwo) {
  ZelList list;
  for (int i = 0; i < 3; ++i) {
    zelAppend(list, std::make_unique<TZelPrimitive<int>>(i));
  }

  const std::unique_ptr<ZelData> last(list.detach(2));

  EXPECT_EQ(last->toInt(), 2);
  ASSERT_EQ(list.items.size(), 2u);
  EXPECT_EQ(list.items[1]->toInt(), 1);
}

TEST_F(ZelCollTest, DetachMovesLaterElementsDown) {
  ZelList list;
  for (int i = 0; i < 3; ++i) {
    zelAppend(list, std::make_unique<TZelPrimitive<int>>(i));
  }

  const std::unique_ptr<ZelData> first(list.detach(0));

  EXPECT_EQ(list.items[0]->toInt(), 1);
}

TEST_F(ZelCollTest, DetachBeyondTheEndOrOfANullElementThrowsAndLeavesTheList) {
  ZelList list;
  list.items.push_back(nullptr);

  EXPECT_THROW(list.detach(0), ZelException);
  EXPECT_THROW(list.detach(1), ZelException);
  EXPECT_EQ(list.items.size(), 1u);
}

TEST_F(ZelCollTest, DetachAtTheEndThrowsWhateverLiesBehindIt) {
  ZelList list;
  list.items.reserve(2);
  zelAppend(list, std::make_unique<TZelPrimitive<int>>(1));
  zelAppend(list, std::make_unique<TZelPrimitive<int>>(2));
  const std::unique_ptr<ZelData> last(list.detach(1));  // its pointer stays behind the end

  EXPECT_THROW(list.detach(1), ZelException);

  EXPECT_EQ(list.items.size(), 1u);
}

TEST_F(ZelCollTest, AnInsertOfATakenKeyKeepsTheOldChild) {
  ZelMap map;
  zelPut<int>(map, 1, 10);
  const auto rejected = std::make_unique<TZelPrimitive<int>>(20);

  EXPECT_FALSE(map.entries.insert({1, rejected.get()}).second);
  zelPut<int>(map, 1, 30);

  EXPECT_EQ(map.get(1).toInt(), 10);
}

TEST_F(ZelCollTest, AccessorsReturnTheValueOfTheirKind) {
  EXPECT_EQ(TZelPrimitive<int>(-5).toInt(), -5);
  EXPECT_EQ(TZelPrimitive<long long>(1LL << 40).toLong(), 1LL << 40);
  EXPECT_TRUE(TZelPrimitive<bool>(true).toBool());
  EXPECT_EQ(TZelPrimitive<std::string>("abc").toString(), "abc");
  EXPECT_EQ(ZelByteArray(std::string("a\0b", 3)).toByteArray(), std::string("a\0b", 3));
}

TEST_F(ZelCollTest, AccessorsNeverConvert) {
  const TZelPrimitive<int> number(1);
  const TZelPrimitive<std::string> text("1");
  const ZelMap map;
  ZelList list;

  EXPECT_THROW(number.toLong(), std::bad_cast);
  EXPECT_THROW(number.toBool(), std::bad_cast);
  EXPECT_THROW(number.toString(), std::bad_cast);
  EXPECT_THROW(text.toInt(), std::bad_cast);
  EXPECT_THROW(text.toByteArray(), std::bad_cast);
  EXPECT_THROW(map.toList(), std::bad_cast);
  EXPECT_THROW(list.toMap(), std::bad_cast);
  EXPECT_THROW(static_cast<const ZelData&>(list).toMap(), std::bad_cast);
}

class RecordingVisitor : public ZelDataVisitor {
 public:
  void visitInt(const TZelPrimitive<int>& /*value*/) override { visits += "int "; }
  void visitLong(const TZelPrimitive<long long>& /*value*/) override { visits += "long "; }
  void visitBool(const TZelPrimitive<bool>& /*value*/) override { visits += "bool "; }
  void visitString(const TZelPrimitive<std::string>& /*value*/) override { visits += "string "; }
  void visitByteArray(const ZelByteArray& /*value*/) override { visits += "bytes "; }
  void visitList(const ZelList& /*value*/) override { visits += "list "; }
  void visitMap(const ZelMap& /*value*/) override { visits += "map "; }

  std::string visits;
};

TEST_F(ZelCollTest, AcceptCallsExactlyTheMatchingVisitAndDoesNotDescend) {
  RecordingVisitor visitor;
  ZelList list;
  zelAppend(list, std::make_unique<TZelPrimitive<int>>(1));
  ZelMap map;
  zelPut<int>(map, 1, 1);

  TZelPrimitive<int>(1).accept(visitor);
  TZelPrimitive<long long>(1).accept(visitor);
  TZelPrimitive<bool>(true).accept(visitor);
  TZelPrimitive<std::string>("x").accept(visitor);
  ZelByteArray("x").accept(visitor);
  list.accept(visitor);
  map.accept(visitor);

  EXPECT_EQ(visitor.visits, "int long bool string bytes list map ");
}

}  // namespace
