// Subclasses and hosts that are compiled elsewhere rely on slot orders and member orders.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "support/layout.h"
#include "support/table_fixture.h"
#include "zelicu.h"
#include "zelreqsample.h"
#include "zelreqsitstate.h"
#include "zelreqsituation.h"

namespace {

using layout::offsetIn;
using layout::slot;
using layout::slotOf;
using layout::valueAt;

class LayoutTest : public TableTest {};

TEST_F(LayoutTest, KeepsTheSlotsOfTableManagers) {
  // Slots 0 and 1 are the destructors.
  EXPECT_EQ(slotOf(&TableManager::Shutdown), 2);
  EXPECT_EQ(slotOf(&TableManager::CreateCtira), 3);
  EXPECT_EQ(slotOf(&ZelTableManager::CreateCtira), 3);
  EXPECT_EQ(slotOf(&ZelTableManager::createIra), 4);
  EXPECT_EQ(slotOf(&ZelSitTrapManager::createIra), 4);
  EXPECT_EQ(slotOf(&ZelTableManager::registration), -1);
  EXPECT_EQ(slotOf(&ZelTableManager::emitEvents), -1);
}

TEST_F(LayoutTest, MakesRequestsThroughTheSlotsOfAManager) {
  using Factory = vuira*(void*, RequestDetail*, ContextInfo*);
  ZelSitTrapManager traps("ZJX", "TRAP", newColumns());
  RequestDetail detail;

  const std::unique_ptr<vuira> sample(slot<Factory>(&manager, 4)(&manager, &detail, &context));
  const std::unique_ptr<vuira> trap(slot<Factory>(&traps, 3)(&traps, &detail, &context));

  EXPECT_NE(dynamic_cast<ZelIra*>(sample.get()), nullptr);
  EXPECT_EQ(dynamic_cast<ZelSitTrap*>(sample.get()), nullptr);
  EXPECT_NE(dynamic_cast<ZelSitTrap*>(trap.get()), nullptr);
}

TEST_F(LayoutTest, DeletesAManagerThroughItsSecondSlot) {
  framework.setMask("ZELIRA", kRas1Flow);
  auto* doomed = new ZelTableManager("ZJX", "T", newColumns());

  slot<void(void*)>(doomed, 1)(doomed);

  EXPECT_EQ(framework.trace().back().function, "~ZelTableManager");
}

TEST_F(LayoutTest, KeepsTheSlotsOfRequestObjects) {
  EXPECT_EQ(slotOf(&vuira::PrintSelf), 0);
  EXPECT_EQ(slotOf(&vuira::TakeSample), 1);
  EXPECT_EQ(slotOf(&vuira::NumColumns), 2);
  EXPECT_EQ(slotOf(&vuira::GetColumnInfo), 3);
  EXPECT_EQ(slotOf(&vuira::ExecuteCommand), 4);
  // Slots 5 and 6 are the destructors.
  EXPECT_EQ(slotOf(&vuira::InsertRow), 7);
  EXPECT_EQ(slotOf(&vuira::CheckForException), 8);
  EXPECT_EQ(slotOf(&vuira::ColumnIsException), 9);
  EXPECT_EQ(slotOf(&vuira::CommandCompleted), 10);
  EXPECT_EQ(slotOf(&ZelIra::doTakeSample), 11);
  EXPECT_EQ(slotOf(&ZelIra::onSitStateChanged), 12);
  EXPECT_EQ(slotOf(&ZelIra::putData), -1);
  EXPECT_EQ(slotOf(&ZelSitTrap::Situation), -1);
  EXPECT_EQ(slotOf(&ZelSitTrap::doSituation), -1);
}

TEST_F(LayoutTest, RunsTheOverridesThroughTheSlotsOfARequest) {
  const std::unique_ptr<ZelIra> request = open(situation("SIT"));
  bridge.replies[2] = sampleReply({row(1)}, 0);
  void* object = request.get();
  ColumnInfo info{};
  char name[] = "NONE";

  EXPECT_EQ(slot<int(void*)>(object, 2)(object), 5);
  EXPECT_EQ((slot<int(void*, ColumnInfo*, int)>(object, 3)(object, &info, 9)), 0x21060007);
  EXPECT_EQ((slot<int(void*, char*, char*, _IntfOper, char*)>(object, 9)(object, name, name,
                                                                         kIntfEqual, name)),
            1);
  slot<void(void*)>(object, 1)(object);
  EXPECT_EQ(insertedInto(*request).size(), 1U);
  slot<void(void*)>(object, 11)(object);
  EXPECT_EQ(insertedInto(*request).size(), 2U);
  slot<void(void*, bool)>(object, 12)(object, false);
  EXPECT_TRUE(framework.hasMessage("Situation SIT stopped"));
  framework.setMask("ZELIRA", kRas1Summary);
  slot<void(void*)>(object, 0)(object);
  EXPECT_TRUE(framework.hasMessage("\t_data {\n"));
}

TEST_F(LayoutTest, DeletesARequestThroughItsSeventhSlot) {
  framework.setMask("ZELIRA", kRas1Flow);
  ZelIra* doomed = open(sampleOf({})).release();

  slot<void(void*)>(doomed, 6)(doomed);

  EXPECT_EQ(framework.trace().back().function, "~ZelIra");
}

TEST_F(LayoutTest, KeepsTheSlotsOfSampleAndSituationRequests) {
  // Slots 2 and 3 are the destructors.
  EXPECT_EQ(slotOf(&ZelReqTakeSample::createRegMsg), 0);
  EXPECT_EQ(slotOf(&ZelReqTakeSample::onReply), 1);
  EXPECT_EQ(slotOf(&ZelReqSituation::createRegMsg), 0);
  EXPECT_EQ(slotOf(&ZelReqSituation::onReply), 1);
  EXPECT_EQ(slotOf(&ZelReqSitStateChanged::createRegMsg), 0);
  EXPECT_EQ(slotOf(&ZelReqSitStateChanged::onReply), 1);
}

TEST_F(LayoutTest, KeepsTheMembersOfTableManagers) {
  const std::ptrdiff_t offsets[] = {
      offsetIn(manager, manager.rowSize),       offsetIn(manager, manager.allocPeak),
      offsetIn(manager, manager.columns),       offsetIn(manager, manager.cache),
      offsetIn(manager, manager.columnsByName), offsetIn(manager, manager.mutex)};

  EXPECT_EQ(offsets[0], static_cast<std::ptrdiff_t>(sizeof(TableManager)));
  EXPECT_EQ(offsets[1], offsets[0] + 4);
  EXPECT_EQ(offsets[2], offsets[0] + 8);
  EXPECT_EQ(offsets[3], offsets[2] + static_cast<std::ptrdiff_t>(sizeof(void*)));
  EXPECT_EQ(offsets[4], offsets[3] + static_cast<std::ptrdiff_t>(sizeof(void*)));
  EXPECT_EQ(offsets[5], offsets[4] + static_cast<std::ptrdiff_t>(sizeof(manager.columnsByName)));
  EXPECT_EQ(sizeof(ZelTableManager), static_cast<std::size_t>(offsets[5]) + sizeof(ZelMutex));
  EXPECT_EQ(sizeof(ZelSitTrapManager), sizeof(ZelTableManager));
}

TEST_F(LayoutTest, KeepsTheMembersOfCachedSamples) {
  EXPECT_EQ(offsetof(ZelCachedSampleData, rows), 0U);
  EXPECT_EQ(offsetof(ZelCachedSampleData, expiry), sizeof(std::vector<std::string>));
}

TEST_F(LayoutTest, KeepsTheReferencesOfRequestObjects) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));

  EXPECT_EQ((valueAt<const void*>(request.get(), sizeof(vuira))), manager.columns.get());
  EXPECT_EQ((valueAt<const void*>(request.get(), sizeof(vuira) + sizeof(void*))),
            &manager.columnsByName);
  EXPECT_EQ(sizeof(ZelIra), sizeof(vuira) + 2 * sizeof(void*));
  EXPECT_EQ(sizeof(ZelSitTrap), sizeof(ZelIra));
}

TEST_F(LayoutTest, KeepsTheMembersOfColumnsAndFilters) {
  EXPECT_EQ(offsetof(ZelColumnInfo, size), 0U);
  EXPECT_EQ(offsetof(ZelColumnInfo, offset), 4U);
  EXPECT_EQ(offsetof(ZelColumnInfo, dataType), 8U);
  EXPECT_EQ(offsetof(ZelColumnInfo, name), 16U);
  EXPECT_EQ(offsetof(ZelFilterInfo, m_column), 0U);
  EXPECT_EQ(offsetof(ZelFilterInfo, m_value), sizeof(std::string));
  EXPECT_EQ(offsetof(ZelFilterInfo, m_oper), 2 * sizeof(std::string));
}

TEST_F(LayoutTest, KeepsTheMembersOfConverters) {
  ZelUniConverter* converter = ZelUniConverter::getInstance("UTF8");

  EXPECT_NE((valueAt<const void*>(converter, 0)), nullptr);
  EXPECT_EQ(*reinterpret_cast<const std::string*>(reinterpret_cast<const char*>(converter) +
                                                  sizeof(void*) + sizeof(ZelMutex)),
            "UTF8");
  EXPECT_EQ(sizeof(ZelUniConverter), sizeof(void*) + sizeof(ZelMutex) + sizeof(std::string));
}

TEST_F(LayoutTest, KeepsTheMembersOfSampleRequests) {
  ZelReqTakeSample request("TAB", {}, {}, false, false, "");
  constexpr std::size_t kBody = sizeof(ZelRequest) + sizeof(void*);
  const auto* body = valueAt<const ZelData*>(&request, kBody);
  const std::unique_ptr<ZelMsg> msg(request.createRegMsg());
  request.onReply(fake::map({{4, fake::list({})}, {10, fake::integer(5)}})()->toMap());

  EXPECT_EQ(body, msg->body.get());
  EXPECT_EQ(valueAt<int>(&request, sizeof(ZelRequest)), 5);
  EXPECT_EQ(offsetIn(request, request.getRows()),
            static_cast<std::ptrdiff_t>(kBody + sizeof(void*)));
}

TEST_F(LayoutTest, KeepsTheMembersOfSituationRequests) {
  ZelReqSituation situationRequest("TAB", {}, {}, false, false, "SIT", 30, true);
  ZelReqSitStateChanged stateRequest("SIT", true, false, false, "TAB", 30);
  const auto* situationBody = valueAt<const ZelData*>(&situationRequest, sizeof(ZelRequest));
  const auto* stateBody = valueAt<const ZelData*>(&stateRequest, sizeof(ZelRequest));

  const std::unique_ptr<ZelMsg> situationMsg(situationRequest.createRegMsg());
  const std::unique_ptr<ZelMsg> stateMsg(stateRequest.createRegMsg());

  EXPECT_EQ(situationBody, situationMsg->body.get());
  EXPECT_EQ(offsetIn(situationRequest, situationRequest.getRows()),
            static_cast<std::ptrdiff_t>(sizeof(ZelRequest) + sizeof(void*)));
  EXPECT_EQ(stateBody, stateMsg->body.get());
  EXPECT_EQ(sizeof(ZelReqSitStateChanged), sizeof(ZelRequest) + sizeof(void*));
}

}  // namespace
