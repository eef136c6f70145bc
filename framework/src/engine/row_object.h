#pragma once

#include <memory>

#include "agentfw/vuira.h"

namespace fw {

class SampleChannel;

/// A request object whose row buffer holds one row: the row that a command is about.
///
/// The object is made in a turn of its table and subnode, and deleted in another when this handle
/// goes; between the two only the owner of the handle uses it. If the engine has stopped by then,
/// the object is left alone: what its destructor would call is gone.
class RowObject {
 public:
  RowObject(std::shared_ptr<SampleChannel> channel, std::unique_ptr<vuira> object);
  RowObject(const RowObject&) = delete;
  RowObject& operator=(const RowObject&) = delete;
  ~RowObject();

  vuira& object() { return *object_; }

 private:
  std::shared_ptr<SampleChannel> channel_;
  std::unique_ptr<vuira> object_;
};

}  // namespace fw
