#include "http/json/json_document.h"

#include "http/json/json_text.h"

namespace fw::http {

std::string toDocument(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string toLine(const Json& object, Clock::WallTime time) {
  Json line = {{"time", toRfc3339(time)}};
  line.update(object);
  return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace fw::http
