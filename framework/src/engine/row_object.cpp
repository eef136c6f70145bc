#include "engine/row_object.h"

#include <utility>

#include "engine/sample_channel.h"

namespace fw {

RowObject::RowObject(std::shared_ptr<SampleChannel> channel, std::unique_ptr<vuira> object)
    : channel_(std::move(channel)), object_(std::move(object)) {}

RowObject::~RowObject() { channel_->takeBack(std::move(object_)); }

}  // namespace fw
