// Whether memory stays flat over many sample exchanges.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "bridge/zelclient.h"
#include "bridge/zelexc.h"
#include "live_jvm.h"
#include "zelreqsample.h"
#include "zelreqsitstate.h"

namespace {

constexpr int kSamples = 20;       // looks at the memory
constexpr int kWarmUpSamples = 4;  // the fifth part: code is compiled, buffers have grown
constexpr double kMostGrowth = 0.05;
constexpr double kMegabyte = 1024.0 * 1024.0;

struct Plan {
  int exchanges = 200000;
  int sends = 0;            ///< one-way messages, spread evenly; the message handler sends them
  bool guarded = true;      ///< with a frame of local references around each exchange
  bool reportOnly = false;  ///< growth is no failure
};

struct Memory {
  double heap = 0;      ///< bytes that live after a collection
  double resident = 0;  ///< bytes of the process
};

class MemoryProbe {
 public:
  explicit MemoryProbe(JNIEnv& env) : env_(env) {
    jclass type = env.FindClass("java/lang/Runtime");
    jmethodID get = env.GetStaticMethodID(type, "getRuntime", "()Ljava/lang/Runtime;");
    runtime_ = env.NewGlobalRef(env.CallStaticObjectMethod(type, get));
    collect_ = env.GetMethodID(type, "gc", "()V");
    total_ = env.GetMethodID(type, "totalMemory", "()J");
    free_ = env.GetMethodID(type, "freeMemory", "()J");
  }

  Memory read() const {
    env_.CallVoidMethod(runtime_, collect_);
    const jlong used = env_.CallLongMethod(runtime_, total_) - env_.CallLongMethod(runtime_, free_);
    return {static_cast<double>(used), resident()};
  }

 private:
  static double resident() {
    long pages = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> pages;  // the second number
    return static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE));
  }

  JNIEnv& env_;
  jobject runtime_ = nullptr;
  jmethodID collect_ = nullptr;
  jmethodID total_ = nullptr;
  jmethodID free_ = nullptr;
};

// Small samples, and now and then a large one.
const char* tableOf(int exchange) {
  static constexpr const char* kTables[] = {"10x256", "0x64", "1x1024", "100x64"};
  return exchange % 500 == 0 ? "1000x1024" : kTables[exchange % 4];
}

void exchangeOnce(LiveJvm& jvm, const Plan& plan, const char* table) {
  void* frame = plan.guarded ? jvm.guard().enter() : nullptr;
  {
    ZelReqTakeSample request(table, {}, {}, false, false, "");
    ZelClient::run(request, false);
    if (request.isAppExc() ||
        request.getRows().size() != static_cast<std::size_t>(std::atoi(table))) {
      throw std::runtime_error(std::string("wrong rows of ") + table);
    }
  }
  jvm.guard().leave(frame);
}

// One-way sends queue up and leave on the message handler's thread.
void sendOneWay(int& sent) {
  ZelReqSitStateChanged message("situation", sent % 2 == 0, false, false, "TABLE", 60);
  ZelClient::run(message, false);
  ++sent;
}

// The message handler may miss a wake-up.
void waitForSends() {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(2);
  for (;;) {
    {
      ZelAutoMutex lock(ZelClient::s_tqMutex);
      if (ZelClient::s_taskQueue.empty()) {
        return;
      }
    }
    if (std::chrono::steady_clock::now() > deadline) {
      throw std::runtime_error("one-way messages are not sent");
    }
    ZelClient::s_tqEvent.signal(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

double growth(double first, double most) { return (most - first) / first; }

int soak(LiveJvm& jvm, const Plan& plan) {
  const MemoryProbe probe(jvm.env());
  std::printf("%s\n%i exchanges, %i one-way sends\n%10s %10s %10s\n", jvm.version().c_str(),
              plan.exchanges, plan.sends, "exchanges", "heap MB", "RSS MB");
  Memory first;
  Memory most;
  int done = 0;
  int sent = 0;
  for (int sample = 1; sample <= kSamples; ++sample) {
    for (; done < plan.exchanges / kSamples * sample; ++done) {
      exchangeOnce(jvm, plan, tableOf(done));
      if (static_cast<long long>(sent) * plan.exchanges <
          static_cast<long long>(done) * plan.sends) {
        sendOneWay(sent);
      }
    }
    waitForSends();
    const Memory now = probe.read();
    std::printf("%10i %10.2f %10.2f\n", done, now.heap / kMegabyte, now.resident / kMegabyte);
    std::fflush(stdout);
    if (sample == kWarmUpSamples) {
      first = now;
    }
    most = {std::max(most.heap, now.heap), std::max(most.resident, now.resident)};
    if (sample <= kWarmUpSamples) {
      most = now;
    }
  }
  const double heap = growth(first.heap, most.heap);
  const double resident = growth(first.resident, most.resident);
  std::printf("growth since %i exchanges: heap %.1f %%, RSS %.1f %%\n",
              plan.exchanges / kSamples * kWarmUpSamples, 100 * heap, 100 * resident);
  const bool flat = heap < kMostGrowth && resident < kMostGrowth;
  if (plan.reportOnly) {
    return 0;
  }
  std::printf("%s\n", flat ? "flat" : "NOT FLAT");
  return flat ? 0 : 1;
}

bool parse(int argc, char** argv, Plan& plan) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--unguarded") == 0) {
      plan.guarded = false;
    } else if (std::strcmp(argv[i], "--report-only") == 0) {
      plan.reportOnly = true;
    } else if (std::strcmp(argv[i], "--exchanges") == 0 && i + 1 < argc) {
      plan.exchanges = std::atoi(argv[++i]);
    } else if (std::strcmp(argv[i], "--sends") == 0 && i + 1 < argc) {
      plan.sends = std::atoi(argv[++i]);
    } else {
      return false;
    }
  }
  return plan.exchanges >= kSamples;
}

}  // namespace

int main(int argc, char** argv) {
  Plan plan;
  if (!parse(argc, argv, plan)) {
    std::fprintf(stderr, "usage: soak [--exchanges N] [--sends N] [--unguarded] [--report-only]\n");
    return 2;
  }
  int status = 1;
  try {
    LiveJvm jvm;
    std::thread worker([&] { status = guarded([&] { return soak(jvm, plan); }); });
    worker.join();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
  }
  std::exit(status);
}
