#pragma once

#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/library_fixture.h"
#include "support/trace_view.h"
#include "zelira.h"
#include "zelsittrap.h"
#include "zeltablemanager.h"
#include "zeltime.h"

/// A manager that frees the cached records, which the library leaves.
template <typename Manager>
class Tidy : public Manager {
 public:
  using Manager::Manager;
  ~Tidy() override {
    if (this->cache != nullptr) {
      for (auto& [subnode, record] : *this->cache) {
        delete record;
      }
    }
  }
};

/// Base of tests around tables: a table "TAB" of the application "ZJX" with a column of each type.
class TableTest : public LibraryTest {
 protected:
  static constexpr int kRowSize = 4 + 8 + 2 + 6 + 6;

  void SetUp() override {
    LibraryTest::SetUp();
    zelTime = [](std::time_t*) { return s_now; };
    s_now = 1'000'000;
  }

  void TearDown() override {
    LibraryTest::TearDown();
    zelTime = std::time;
  }

  static std::vector<ZelColumnInfo*>* newColumns() {
    return new std::vector<ZelColumnInfo*>{
        new ZelColumnInfo("INT", kIntfInt32, 4, 0), new ZelColumnInfo("LONG", kIntfInt64, 8, 4),
        new ZelColumnInfo("SHORT", kIntfInt16, 2, 12),
        new ZelColumnInfo("CHARS", kIntfChars, 6, 14), new ZelColumnInfo("TEXT", kIntfUtf8, 6, 20)};
  }

  /// A row of the table: `chars` and `text` are six bytes each.
  static std::string row(std::int32_t integer, std::int64_t longInteger = 0,
                         std::int16_t shortInteger = 0, const std::string& chars = "chars ",
                         const std::string& text = std::string("text\0\0", 6)) {
    std::string bytes(14, '\0');
    std::memcpy(bytes.data(), &integer, 4);
    std::memcpy(bytes.data() + 4, &longInteger, 8);
    std::memcpy(bytes.data() + 12, &shortInteger, 2);
    return bytes + chars + text;
  }

  /// A good reply to a sample request.
  static fake::Value sampleReply(const std::vector<std::string>& rows, int cacheSeconds) {
    return fake::map({{4, rowList(rows)}, {10, fake::integer(cacheSeconds)}});
  }

  static fake::Value rowList(const std::vector<std::string>& rows) {
    std::vector<fake::Value> items;
    for (const std::string& bytes : rows) {
      items.push_back(fake::bytes(bytes));
    }
    return fake::list(items);
  }

  static RequestDetail situation(const std::string& name) {
    RequestDetail detail;
    detail.situationName = name;
    detail.interval = 30;
    return detail;
  }

  static RequestDetail sampleOf(const std::vector<std::string>& subnodes) {
    RequestDetail detail;
    detail.interval = 60;
    detail.subnodes = subnodes;
    return detail;
  }

  /// A request of the manager, made as the framework makes it.
  std::unique_ptr<ZelIra> open(RequestDetail detail) {
    return std::unique_ptr<ZelIra>(static_cast<ZelIra*>(manager.CreateCtira(&detail, &context)));
  }

  const std::vector<std::string>& insertedInto(vuira& request) {
    return fake::recordOf(request).rows;
  }

  /// What was traced, without the lines that the message handler thread adds at any time.
  std::vector<std::string> messages() {
    std::vector<std::string> texts = framework.messages();
    std::erase_if(texts, [](const std::string& text) {
      return text == "Message handler started" || text == "Message handler stopped";
    });
    return texts;
  }

  static inline std::time_t s_now = 0;
  ContextInfo context;
  Tidy<ZelTableManager> manager{"ZJX", "TAB", newColumns()};
};
