#include "zelsamplebody.h"

#include "bridge/zelbuild.h"
#include "bridge/zelkeys.h"

namespace {

std::unique_ptr<ZelData> filterList(const std::vector<ZelFilterInfo>& filters, bool withOperators) {
  auto list = std::make_unique<ZelList>();
  for (const ZelFilterInfo& filter : filters) {
    auto description = std::make_unique<ZelMap>();
    zelPut<std::string>(*description, ZelKey::SampleFilter::kColumn, filter.m_column);
    zelPut<std::string>(*description, ZelKey::SampleFilter::kValue, filter.m_value);
    if (withOperators) {
      zelPut<int>(*description, ZelKey::SituationFilter::kOperator, filter.m_oper);
    }
    zelAppend(*list, std::move(description));
  }
  return list;
}

std::unique_ptr<ZelData> textList(const std::vector<std::string>& texts) {
  auto list = std::make_unique<ZelList>();
  for (const std::string& text : texts) {
    zelAppend(*list, std::make_unique<TZelPrimitive<std::string>>(text));
  }
  return list;
}

}  // namespace

std::unique_ptr<ZelMap> zelSampleBody(const ZelSampleScope& scope, bool withOperators) {
  std::unique_ptr<ZelData> filters = filterList(scope.filters, withOperators);
  std::unique_ptr<ZelData> subnodes = textList(scope.subnodes);
  auto body = std::make_unique<ZelMap>();
  zelPut<std::string>(*body, ZelKey::Sample::kTable, scope.table);
  zelPut(*body, ZelKey::Sample::kFilters, std::move(filters));
  zelPut(*body, ZelKey::Sample::kSubnodes, std::move(subnodes));
  zelPut<bool>(*body, ZelKey::Sample::kHistory, scope.history);
  zelPut<bool>(*body, ZelKey::Sample::kAutomation, scope.automation);
  zelPut<std::string>(*body, ZelKey::Sample::kSituation, scope.situation);
  return body;
}

void zelReadRows(const ZelList& list, std::vector<std::string>& rows) {
  rows.reserve(rows.size() + list.items.size());
  for (const ZelData* row : list.items) {
    rows.push_back(zelElement(row).toByteArray());
  }
}
