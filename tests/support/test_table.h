#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "agentfw/vuira.h"
#include "tables/column.h"
#include "tables/value.h"

namespace test {

/// Waits for a condition, with a deadline that only a broken program reaches.
inline bool eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::yield();
  }
  return true;
}

/// A door that callbacks wait at until the test opens it.
class Door {
 public:
  ~Door() { open(); }

  void pass() {
    std::unique_lock lock(mutex_);
    ++waiting_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
    --waiting_;
  }

  void open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }

  /// Waits until that many callbacks stand at the door.
  bool awaitWaiting(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return waiting_ >= count; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;  // guarded by mutex_
  int waiting_ = 0;    // guarded by mutex_
};

/// Columns one after the other, without gaps.
inline std::vector<fw::Column> packed(std::vector<fw::Column> columns) {
  std::uint32_t offset = 0;
  for (fw::Column& column : columns) {
    column.offset = offset;
    offset += column.size;
  }
  return columns;
}

inline std::uint32_t sizeOf(const std::vector<fw::Column>& columns) {
  std::uint32_t size = 0;
  for (const fw::Column& column : columns) {
    size += column.size;
  }
  return size;
}

/// A row of those columns.
inline std::string rowOf(const std::vector<fw::Column>& columns,
                         const std::vector<fw::Value>& values) {
  std::string row(sizeOf(columns), '\0');
  for (std::size_t i = 0; i < columns.size(); ++i) {
    fw::encodeValue(columns[i], values.at(i), row.data());
  }
  return row;
}

class TestTable;

/// A request object of a test's agent.
class TestRequest final : public vuira {
 public:
  TestRequest(RequestDetail* detail, ContextInfo* context, TestTable& table);
  ~TestRequest() override;

  void TakeSample() override;
  int NumColumns() override;
  int GetColumnInfo(ColumnInfo* out, int index) override;
  int ColumnIsException(char* row, char* columnName, _IntfOper oper, char* threshold) override;

  std::string subnode();               ///< the first, or empty
  std::vector<std::string> filters();  ///< "COLUMN type bytes" of each

  TestTable& table;
};

/// A table of a test's agent. Members are set before the table is registered.
class TestTable final : public TableManager {
 public:
  using Rows = std::vector<std::string>;

  TestTable(const char* name, std::vector<fw::Column> tableColumns)
      : TableManager("TST", name), columns(std::move(tableColumns)), rowSize(sizeOf(columns)) {}

  /// Deletes the objects that were left for good.
  ~TestTable() override {
    for (vuira* left : live()) {
      delete left;
    }
  }

  vuira* CreateCtira(RequestDetail* detail, ContextInfo* context) override {
    if (makesNothing) {
      return nullptr;
    }
    return new TestRequest(detail, context, *this);
  }

  std::string row(const std::vector<fw::Value>& values) const { return rowOf(columns, values); }

  std::vector<fw::Column> columns;
  std::uint32_t rowSize;
  /// What a sample delivers; runs inside the callback.
  std::function<Rows(TestRequest&)> sample = [](TestRequest&) { return Rows(); };
  std::atomic<bool> makesNothing{false};

  /// Runs inside the making of a request object.
  std::function<void(TestRequest&)> made = [](TestRequest&) {};

  /// Pushes rows as an agent does: into each object of the request list, under the list's lock. The
  /// last code that was not 0, or 0.
  int push(const Rows& rows);

  /// The objects in the request list.
  int listed();

  /// The objects that exist now.
  std::vector<vuira*> live() {
    const std::lock_guard lock(mutex);
    return objects;
  }

  std::mutex mutex;
  std::vector<vuira*> objects;  // guarded by mutex

  std::atomic<int> created{0};
  std::atomic<int> deleted{0};
  std::atomic<int> samples{0};
  std::atomic<int> asked{0};  ///< calls of ColumnIsException
};

inline TestRequest::TestRequest(RequestDetail* detail, ContextInfo* context, TestTable& owner)
    : vuira(detail, context, &owner), table(owner) {
  rowSize = table.rowSize;
  allocSize = 1;
  ++table.created;
  table.made(*this);
  const std::lock_guard lock(table.mutex);
  table.objects.push_back(this);  // not before: one whose making fails is never deleted
}

inline TestRequest::~TestRequest() {
  ++table.deleted;
  const std::lock_guard lock(table.mutex);
  std::erase(table.objects, this);
}

inline int TestTable::push(const Rows& rows) {
  int result = 0;
  BSS1_GetLock(&listLock);
  VuiraListIter open(requests);
  while (vuira* const request = open.Next()) {
    request->UseHandle(request->handle);
    for (std::string bytes : rows) {
      if (request->CheckForException(bytes.data()) != 0 && request->InsertRow(bytes.data()) != 0) {
        break;
      }
    }
    request->PrintSelf();
    if (const int rc = request->Dispatch(); rc != 0) {
      result = rc;
    }
    request->rowCount = 0;
    RES1_Drop(request->handle);
  }
  BSS1_ReleaseLock(&listLock);
  return result;
}

inline int TestTable::listed() {
  int count = 0;
  BSS1_GetLock(&listLock);
  VuiraListIter open(requests);
  while (open.Next() != nullptr) {
    ++count;
  }
  BSS1_ReleaseLock(&listLock);
  return count;
}

inline void TestRequest::TakeSample() {
  ++table.samples;
  for (std::string& row : table.sample(*this)) {
    if (CheckForException(row.data()) != 0 && InsertRow(row.data()) != 0) {
      return;
    }
  }
}

inline int TestRequest::NumColumns() { return static_cast<int>(table.columns.size()); }

inline int TestRequest::GetColumnInfo(ColumnInfo* out, int index) {
  const fw::Column& column = table.columns.at(static_cast<std::size_t>(index));
  *out = {column.name.c_str(), static_cast<std::int16_t>(column.offset),
          static_cast<std::int16_t>(column.size), static_cast<std::int16_t>(column.type)};
  return 0;
}

inline int TestRequest::ColumnIsException(char* row, char* columnName, _IntfOper oper,
                                          char* threshold) {
  ++table.asked;
  return vuira::ColumnIsException(row, columnName, oper, threshold);
}

inline std::string TestRequest::subnode() {
  ResetGetSubnode();
  const char* const name = GetSubnode();
  return name == nullptr ? "" : name;
}

inline std::vector<std::string> TestRequest::filters() {
  std::vector<std::string> result;
  const FLT1_FILTERINFO* filter = nullptr;
  while (GetFilterInfo(&filter) == 0 && filter != nullptr) {
    result.push_back(std::string(filter->columnName) + ' ' + std::to_string(filter->dataType) +
                     ' ' +
                     std::string(static_cast<const char*>(filter->value),
                                 static_cast<std::size_t>(filter->dataSize)));
  }
  return result;
}

}  // namespace test
