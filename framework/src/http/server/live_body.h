#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string>

#include "agentfw/mutex.h"

struct MHD_Connection;

namespace fw::http {

/// What there is to tell one client, for as long as it listens. Used by one thread at a time;
/// each operation appends some ten KiB at most.
class LiveSource {
 public:
  virtual ~LiveSource() = default;

  /// Appends what there is now, or nothing.
  virtual void next(std::string& out) = 0;

  /// Appends a sign of life.
  virtual void beat(std::string& out) = 0;

  /// Appends the last words.
  virtual void farewell(std::string& out) = 0;
};

/// The content of an answer that goes on until the client, or the server, has had enough.
///
/// While its source has nothing to tell the connection is suspended, and wake() resumes it. All
/// that it holds for its client is the piece that is being sent, so a client that takes nothing
/// costs no more than that.
class LiveBody {
 public:
  explicit LiveBody(std::unique_ptr<LiveSource> source) : source_(std::move(source)) {}
  LiveBody(const LiveBody&) = delete;
  LiveBody& operator=(const LiveBody&) = delete;

  /// The source may have something to tell. From any thread; takes a moment at most.
  void wake();

  /// It is time for a sign of life.
  void beat();

  /// Says the last words and ends the content.
  void end();

  /// Whether there is, or will be, somebody who listens. From any thread.
  bool isWanted() const;

  // These belong to the connection's HTTP thread.
  void attach(MHD_Connection* connection, int socket);
  void detach();

  /// Writes the next bytes; as the HTTP library wants it, 0 when the connection was suspended
  /// because there are none, and -1 at the end.
  ssize_t read(char* out, std::size_t size);

 private:
  enum class Turn { Talk, Beat, Farewell, Over };
  Turn takeTurn();
  bool suspendIfQuiet();
  void resume() REQUIRES(mutex_);

  const std::unique_ptr<LiveSource> source_;
  std::string piece_;      // what is being sent
  std::size_t taken_ = 0;  // bytes of it that are sent

  mutable Mutex mutex_;
  MHD_Connection* connection_ GUARDED_BY(mutex_) = nullptr;  // null unless attached
  int socket_ GUARDED_BY(mutex_) = -1;                       // of connection_
  bool suspended_ GUARDED_BY(mutex_) = false;
  bool woken_ GUARDED_BY(mutex_) = false;  // since the source was last asked
  bool beatDue_ GUARDED_BY(mutex_) = false;
  bool ending_ GUARDED_BY(mutex_) = false;
  bool over_ GUARDED_BY(mutex_) = false;  // the last words are written
};

}  // namespace fw::http
