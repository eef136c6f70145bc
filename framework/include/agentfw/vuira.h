#pragma once

#include <cstdint>
#include <list>

#include "agentfw/bss1.h"
#include "agentfw/export.h"
#include "agentfw/flt1.h"
#include "agentfw/res1.h"

/// @file
/// Tables, request objects and commands.
///
/// The agent derives one TableManager per table and one vuira per kind of request. The framework
/// asks the manager for a request object, asks the object for columns and samples, and deletes it.
/// Callbacks run on the framework's workers, at most one at a time per table and subnode.

class TableManager;
class vuira;
class VuiraAutomationCapsule;

/// What a request asks for, and the place it belongs to. Made and read by the framework only; the
/// agent passes both from the factory to the constructor of its request object.
struct RequestDetail;
struct ContextInfo;

/// Data types of a column that have a meaning to the framework.
enum IntfDtype : std::int32_t {
  kIntfInt32 = 1,
  kIntfInt64 = 3,
  kIntfInt16 = 5,
  kIntfChars = 9,  ///< fixed width, padded with blanks, not terminated
  kIntfUtf8 = 12,  ///< fixed width, padded with zeros
};

/// Comparison operators; the low 12 bits count.
enum _IntfOper : std::int32_t {
  kIntfEqual = 1,
  kIntfNotEqual = 2,
  kIntfGreaterOrEqual = 3,
  kIntfLessOrEqual = 4,
  kIntfLess = 5,
  kIntfGreater = 6,
};
inline constexpr std::int32_t kIntfOperMask = 0xFFF;

/// One column as a request object describes it.
struct ColumnInfo {
  const char* name;  ///< zero-terminated; owned by the describer, lives as long as its table
  std::int16_t offset;
  std::int16_t size;
  std::int16_t type;  ///< IntfDtype
};

/// A list of framework objects. Not owning, not locked.
class LinkedList {
 public:
  void append(void* item) { items.push_back(item); }
  void remove(void* item) { items.remove(item); }
  bool empty() const { return items.empty(); }

 private:
  friend class LinkedListIter;
  std::list<void*> items;
};

/// Walks a list that nobody changes meanwhile.
class LinkedListIter {
 public:
  explicit LinkedListIter(LinkedList& list) : next(list.items.begin()), end(list.items.end()) {}

  /// The next item, or null at the end.
  void* Next() { return next == end ? nullptr : *next++; }

 private:
  std::list<void*>::iterator next;
  std::list<void*>::iterator end;
};

/// Walks the request objects of a table. Hold TableManager::listLock while it lives.
class VuiraListIter : public LinkedListIter {
 public:
  using LinkedListIter::LinkedListIter;
  vuira* Next() { return static_cast<vuira*>(LinkedListIter::Next()); }
};

/// One table of the agent.
class AGENTFW_API TableManager {
 public:
  static constexpr unsigned kMaxName = 63;  ///< bytes of an application or table name

  /// Names longer than kMaxName bytes are cut.
  TableManager(const char* applicationId, const char* tableName);
  TableManager(const TableManager&) = delete;
  TableManager& operator=(const TableManager&) = delete;

  // Virtual operations. Their order is binary interface: append, never move.
  virtual ~TableManager();
  virtual void Shutdown(unsigned long timeoutMs);

  /// Makes a request object, owned by the framework from then on; null when that failed.
  virtual vuira* CreateCtira(RequestDetail* detail, ContextInfo* context) = 0;

  /// Makes the table known to the framework; 0 on success, else an error code.
  unsigned RegisterWithManager();

  char applicationId[kMaxName + 1];
  char tableName[kMaxName + 1];
  LinkedList requests;  ///< event subscriptions only; guarded by listLock
  BSS1_Lock listLock;
};

/// A request object. A request names one subnode, or none.
class AGENTFW_API vuira {
 public:
  static constexpr unsigned kMaxSituationName = 63;
  static constexpr unsigned kMaxNodeName = 32;

  vuira(RequestDetail* detail, ContextInfo* context, TableManager* manager);
  vuira(const vuira&) = delete;
  vuira& operator=(const vuira&) = delete;

  // Virtual operations. Their order is binary interface: append, never move.

  /// Traces the object for diagnosis.
  virtual void PrintSelf();
  /// Asks for the current rows; they are delivered through InsertRow before this returns.
  virtual void TakeSample();
  virtual int NumColumns();
  /// Describes column `index`, from 0; returns 0, or an error code when there is none.
  virtual int GetColumnInfo(ColumnInfo* out, int index);
  virtual int ExecuteCommand(char* command, int codePage, char* message);
  virtual ~vuira();
  /// Copies one row of `rowSize` bytes into the row buffer; 0, or an error code at the row limit.
  virtual int InsertRow(char* row);
  /// Whether the row passes the request's thresholds; true without any.
  virtual int CheckForException(char* row);
  /// Whether the row's column compares true with `threshold`, a value in the column's binary form
  /// that is followed by zeros up to the column's size + 1.
  virtual int ColumnIsException(char* row, char* columnName, _IntfOper oper, char* threshold);
  virtual int CommandCompleted(VuiraAutomationCapsule* capsule);

  /// Greater than 0 for a request for historical data.
  int IsHistoryRequest();

  /// Steps through the request's subnodes: the next name, or null at the end. The text lives as
  /// long as the object.
  void ResetGetSubnode();
  const char* GetSubnode();

  /// Steps through the request's filters: 0 and a record, or 0 and null at the end, after which the
  /// next call gives the first again. Every callback starts at the first.
  int GetFilterInfo(const FLT1_FILTERINFO** filter);

  /// Compares a value with a threshold of the column's binary form.
  int IsException(_IntfOper oper, long value, char* threshold);
  int IsException(_IntfOper oper, short value, char* threshold);

  /// Traces the request's thresholds.
  void DumpThresholds();

  /// Finds a column by name; 0 and its description, or an error code.
  int GetColumnInfoByName(ColumnInfo* out, char* name);

  /// Takes one use of the object's handle; given back with RES1_Drop. Only counts.
  int UseHandle(RES1_Handle use);

  /// Takes over the rows that are in the buffer; 0 on success. The caller sets rowCount to 0 then.
  int Dispatch();

  /// Reports that the command of a capsule has run.
  int FinishedAutomationCommand(VuiraAutomationCapsule* capsule);

  TableManager* manager;
  char situationName[kMaxSituationName + 1];  ///< empty for a plain sample
  const char* definition;                     ///< the request's definition text, or null
  std::uint32_t interval;                     ///< seconds
  std::int32_t sampleType;
  std::uint32_t requestId;
  RES1_Handle handle;
  char nodeText[kMaxNodeName + 1];  ///< the node that a command was sent to, or empty
  std::uint32_t rowSize;            ///< bytes of a row; set by the agent's object
  std::uint32_t allocSize;          ///< rows of the first allocation; set by the agent's object
  std::uint32_t rowCount;
  std::uint32_t rowsAllocated;
  char* rowBuffer;  ///< rowCount rows without gaps

 private:
  friend struct VuiraState;
  struct VuiraState* state;  // owned; the framework's own side of the object
};

/// A take-action command on its way to the agent and back. Belongs to the framework.
class AGENTFW_API VuiraAutomationCapsule {
 public:
  VuiraAutomationCapsule();
  VuiraAutomationCapsule(const VuiraAutomationCapsule&) = delete;
  VuiraAutomationCapsule& operator=(const VuiraAutomationCapsule&) = delete;
  ~VuiraAutomationCapsule();

  /// Copies the command's message text; null is the empty text.
  void SetMessage(char* message);

  vuira* owner;           ///< the request object with the row that the command was raised on
  const char* command;    ///< zero-terminated
  std::int32_t codePage;  ///< 1: the command is UTF-8; else in the agent's code page
  /// On arrival the index of the row that the command was raised on, from 0; the agent overwrites
  /// it with the command's return code.
  std::int32_t rowOrReturnCode;

 private:
  friend struct CapsuleState;
  struct CapsuleState* state;  // owned; the framework's own side
};
