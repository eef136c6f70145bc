#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "basic/clock.h"
#include "engine/request_error.h"

namespace fw {

/// A command for the agent.
struct ActionRequest {
  std::string node;     ///< where it is to run: a subnode, or empty for the agent; not with `table`
  std::string command;  ///< 1 to 4096 bytes of UTF-8
  /// 0: the agent gets the text as it is; 1: it converts it from UTF-8 to the machine's code page,
  /// unless there are characters above U+FFFF in it.
  std::int32_t codePage = 0;

  /// Instead of a node: the row that the command is about, the first of a table that passes. Its
  /// node is in the row.
  struct Row {
    std::string table;
    std::optional<std::string> subnode;
    std::string where;
  };
  std::optional<Row> row;
};

struct ActionStatus {
  enum class State {
    Waiting,  ///< for a worker
    Running,
    Completed,  ///< the agent gave a return code and a message
    Failed,     ///< the agent could not run it; `message` says what is known
    Late,       ///< it passed its deadline; it may still end as Completed or Failed
  };
  std::uint64_t id = 0;  ///< 1, 2, 3, ...
  std::string node;      ///< UTF-8, without padding
  std::string command;
  State state = State::Waiting;
  std::int32_t returnCode = 0;  ///< when Completed: the command's own, 0 for success
  std::string message;          ///< for people
  Clock::WallTime askedAt;
  std::optional<std::chrono::milliseconds> duration;  ///< of the run, once it has ended
};

/// Take-action commands. Any thread may call.
class Actions {
 public:
  using Done = std::function<void(std::variant<ActionStatus, RequestError>)>;

  virtual ~Actions() = default;

  /// Has the agent run a command. `done` is called exactly once, on a thread of the framework and
  /// never before run() has returned on the same thread: when the command has ended, when its
  /// deadline has passed (state Late), or when it is refused. It must neither block nor throw.
  virtual void run(ActionRequest request, Done done) = 0;

  /// The most recent commands, newest first.
  virtual std::vector<ActionStatus> recent() const = 0;
};

}  // namespace fw
