#include "http/services/service_job.h"

#include <atomic>
#include <exception>
#include <utility>

#include "agentfw/pfm1.h"
#include "agentfw/ras1.h"
#include "engine/callback_gate.h"
#include "engine/timer_queue.h"
#include "engine/worker_lane.h"
#include "http/server/problem.h"

RAS1_UNIT("KDH1JOB");

namespace fw::http {

namespace {

/// One request on its way to the callback and back. The timer and the worker share it.
class ServiceJob {
 public:
  ServiceJob(std::shared_ptr<AgentService> service, Request request, const std::string& path,
             std::size_t responseLimit, std::shared_ptr<Responder> responder)
      : service_(std::move(service)),
        target_(request.target.path),
        call_(std::make_shared<ServiceCall>(std::move(request), path, responseLimit)),
        responder_(std::move(responder)) {}

  void answer(const Problem& problem) { responder_->send(problemResponse(problem, target_)); }

  /// The deadline has passed.
  void expire() {
    RAS1_FUNCTION();
    if (answered_.exchange(true)) {
      return;
    }
    ++service_->late;
    RAS1_PRINT("WARN: service %s had no answer in time to %s", service_->name.c_str(),
               target_.c_str());
    answer({504,
            "deadline",
            "The answer took too long",
            "The agent's service had no answer within services.deadline.",
            {}});
  }

  /// On a worker.
  void run(CallbackGate& gate) {
    if (answered_) {
      return;
    }
    int result = 0;
    if (service_->isOver || !gate.run([&] { result = callBack(); })) {
      return answer(stopping());
    }
    Response response = call_->finish(result);
    if (response.status == 502) {
      ++service_->failed;
    }
    if (!answered_.exchange(true)) {
      responder_->send(std::move(response));
    }
  }

 private:
  /// Runs the callback. The call's handle is alive meanwhile, and not a moment longer.
  int callBack() {
    RAS1_FUNCTION();
    struct Handle {
      const KDH1_request_handle value;
      ~Handle() { ServiceCall::live().remove(value); }
    } const handle{ServiceCall::live().add(call_)};
    KDH1_request_struct request = call_->describe(handle.value);
    try {
      return service_->callback(&request, service_->context);
    } catch (const agentfw::Exception&) {
      RAS1_PRINT("ERROR: service %s ended with exception %i of the framework",
                 service_->name.c_str(), PFM1_Thread()->error);
    } catch (const std::exception& error) {
      RAS1_PRINT("ERROR: service %s ended with an exception: %s", service_->name.c_str(),
                 error.what());
    } catch (...) {
      RAS1_PRINT("ERROR: service %s ended with an unknown exception", service_->name.c_str());
    }
    return -1;
  }

  const std::shared_ptr<AgentService> service_;
  const std::string target_;
  const std::shared_ptr<ServiceCall> call_;
  const std::shared_ptr<Responder> responder_;
  std::atomic<bool> answered_{false};  // or about to be
};

}  // namespace

void startServiceJob(const ServiceRunner& runner, std::shared_ptr<AgentService> service,
                     Request request, const std::string& path,
                     std::shared_ptr<Responder> responder) {
  ++service->requests;
  const auto job = std::make_shared<ServiceJob>(service, std::move(request), path,
                                                runner.responseLimit, std::move(responder));
  const TimerQueue::Id timer = runner.timers.after(runner.deadline, [job] { job->expire(); });
  const auto task = [job, timer, &gate = runner.gate, &timers = runner.timers] {
    job->run(gate);
    timers.cancel(timer);
  };
  if (!runner.lane.post("service " + service->name, task)) {
    runner.timers.cancel(timer);
    ++service->refused;
    job->answer(
        busy("Too many requests are waiting for the agent's services; services.queue_limit is the "
             "limit."));
  }
}

}  // namespace fw::http
