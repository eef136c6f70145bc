#include "support/fake_agent.h"

#include <algorithm>
#include <cstdlib>

FakeAgent::FakeAgent() : worker_([this] { work(); }) {}

FakeAgent::~FakeAgent() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  worker_.join();
}

void FakeAgent::addTable(std::shared_ptr<const fw::TableInfo> table) {
  fw::TableStatus status;
  status.state = fw::TableStatus::State::Ready;
  status.info = std::move(table);
  tableList.push_back(std::move(status));
}

std::optional<fw::TableStatus> FakeAgent::table(std::string_view name) const {
  for (const fw::TableStatus& each : tableList) {
    if (each.info->name == name) {
      return each;
    }
  }
  return std::nullopt;
}

void FakeAgent::report(fw::ReportRequest request, Done done) {
  {
    const std::lock_guard lock(mutex_);
    last_ = request;
    waiting_.emplace_back(std::move(request), std::move(done));
  }
  changed_.notify_all();
}

void FakeAgent::hold() {
  const std::lock_guard lock(mutex_);
  holding_ = true;
}

void FakeAgent::release() {
  {
    const std::lock_guard lock(mutex_);
    holding_ = false;
  }
  changed_.notify_all();
}

void FakeAgent::forget() {
  std::vector<std::pair<fw::ReportRequest, Done>> dropped;
  const std::lock_guard lock(mutex_);
  dropped.swap(waiting_);
}

bool FakeAgent::waitHeld(std::size_t count) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(20),
                           [&] { return waiting_.size() >= count; });
}

fw::ReportRequest FakeAgent::lastRequest() const {
  const std::lock_guard lock(mutex_);
  return last_;
}

void FakeAgent::work() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return ending_ || (!holding_ && !waiting_.empty()); });
    if (ending_) {
      return;
    }
    auto [request, done] = std::move(waiting_.front());
    waiting_.erase(waiting_.begin());
    lock.unlock();
    done(answer(request));
    done = nullptr;
    lock.lock();
  }
}

std::shared_ptr<const fw::TableInfo> makeTable(std::string name, std::vector<fw::Column> columns) {
  auto table = std::make_shared<fw::TableInfo>();
  table->application = "ZJX";
  table->name = std::move(name);
  for (fw::Column& column : columns) {
    column.offset = table->rowSize;
    table->rowSize += column.size;
    table->perSubnode = table->perSubnode || column.name == fw::TableInfo::kOriginNode;
    table->events = table->events || column.name == fw::TableInfo::kEventSeq;
  }
  table->columns = std::move(columns);
  return table;
}

ResultBuilder::ResultBuilder(std::shared_ptr<const fw::TableInfo> table) {
  result_.table = std::move(table);
}

ResultBuilder& ResultBuilder::sample(fw::ReportSample sample,
                                     const std::vector<std::vector<fw::Value>>& rows) {
  const std::uint32_t rowSize = result_.table->rowSize;
  fw::RowBlock::Bytes bytes(static_cast<char*>(std::calloc(rows.size() + 1, rowSize)));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t k = 0; k < rows[i].size(); ++k) {
      fw::encodeValue(result_.table->columns[k], rows[i][k], bytes.get() + i * rowSize);
    }
  }
  const auto block = std::make_shared<const fw::RowBlock>(std::move(bytes), rowSize,
                                                          static_cast<std::uint32_t>(rows.size()));
  for (std::uint32_t i = 0; i < block->rowCount(); ++i) {
    result_.rows.push_back({block->row(i), static_cast<std::uint32_t>(result_.samples.size())});
  }
  sample.rows = block;
  result_.samples.push_back(std::move(sample));
  result_.matched = result_.rows.size();
  return *this;
}
