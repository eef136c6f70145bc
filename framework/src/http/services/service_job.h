#pragma once

#include <memory>
#include <string>

#include "http/services/service_call.h"
#include "http/services/service_registry.h"
#include "http/services/service_site.h"

namespace fw::http {

/// Has the service's callback answer a request, on the lane of the runner. Returns at once.
/// `path` is below the service.
void startServiceJob(const ServiceRunner& runner, std::shared_ptr<AgentService> service,
                     Request request, const std::string& path,
                     std::shared_ptr<Responder> responder);

}  // namespace fw::http
