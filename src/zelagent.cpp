#include "zelagent.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "agentfw/bss1.h"
#include "agentfw/ira.h"
#include "agentfw/pfm1.h"
#include "agentfw/ras1.h"
#include "agentfw/sig1.h"
#include "bridge/zelclient.h"
#include "zelaffinity.h"
#include "zelapi.h"
#include "zelending.h"
#include "zelguard.h"
#include "zelhttp.h"
#include "zelntfsampleemit.h"
#include "zelntfshutdown.h"
#include "zelntfsubnode.h"
#include "zelproduct.h"
#include "zelreqinit.h"
#include "zelreqshutdown.h"
#include "zelreqstart.h"
#include "zelsignal.h"
#include "zelsittrap.h"
#include "zelspawnu.h"
#include "zeltablemanager.h"

RAS1_UNIT("ZELAGENT");

const char* ZelAgent::s_prodCode = nullptr;
const char* ZelAgent::s_instId = nullptr;
const char* ZelAgent::s_prodHome = nullptr;
int ZelAgent::s_appPort = 0;
unsigned long ZelAgent::s_replyTimeout = 600000;
const char* ZelAgent::s_iraVersion = nullptr;
char ZelAgent::s_iraVersionBuff[16];
std::string& ZelAgent::s_versionAff = *new std::string;
std::atomic<bool> ZelAgent::s_isShutdown{false};
std::atomic<bool> ZelAgent::s_started{false};
std::map<std::string, ZelTableManager*>& ZelAgent::s_managers =
    *new std::map<std::string, ZelTableManager*>;
ZelEvent& ZelAgent::s_shutdownEvent = *new ZelEvent;

namespace {

constexpr unsigned long kShortestReplyTimeoutMs = 59999;
constexpr unsigned long kRaisedReplyTimeoutMs = 61000;
constexpr unsigned long kEarlyShutdownWaitMs = 300;

ZelAgent* s_agent = nullptr;
ZelAgent agent;

SIG1_Record s_sactUSR1;
SIG1_Record s_sactUSR2;
SIG1_Record s_sactQUIT;
[[maybe_unused]] SIG1_Record s_sactDANGER;

ZelSubnodeRegHandler subnodeRegHandler;
ZelSubnodeDeregHandler subnodeDeregHandler;
ZelSampleEmitHandler sampleEmitHandler;
ZelShutdownHandler shutdownHandler;
[[maybe_unused]] ZelSubnodeConnHandler subnodeConnHandler;
[[maybe_unused]] ZelSubnodeDisconnHandler subnodeDisconnHandler;

struct FrameworkSignal {
  int id;
  SIG1_Record* record;
  std::uint32_t mask;
};

// The framework gives these up to the process: the JVM needs them.
constexpr FrameworkSignal kReleasedSignals[] = {
    {39, &s_sactUSR1, 0x40},
    {40, &s_sactUSR2, 0x80},
    {26, &s_sactQUIT, 0x02000000},
};

void releaseSignals() {
  for (const FrameworkSignal& signal : kReleasedSignals) {
    PFM1_Signal(signal.id, 1);
    *signal.record = SIG1_Record{1, signal.mask, {0, 0}};
    SIG1_Action(signal.id, signal.record, 0);
  }
}

struct RequiredVariable {
  const char* name;
  const char** destination;
};

constexpr RequiredVariable kRequiredVariables[] = {
    {"ZEL_PROD", &ZelAgent::s_prodCode},
    {"ZEL_INST", &ZelAgent::s_instId},
    {"ZEL_PROD_HOME", &ZelAgent::s_prodHome},
    {nullptr, nullptr},
};

bool readEnvironment() {
  RAS1_FUNCTION();
  for (const RequiredVariable* variable = kRequiredVariables; variable->name != nullptr;
       ++variable) {
    *variable->destination = BSS1_GetEnv(variable->name, nullptr);
    if (*variable->destination == nullptr) {
      RAS1_PRINT("ERROR: required environment variable %s is not set", variable->name);
      return false;
    }
  }
  return true;
}

bool enterHome() {
  RAS1_FUNCTION();
  if (chdir(ZelAgent::s_prodHome) != 0) {
    const int error = errno;
    RAS1_PRINT("ERROR: chdir(%s) failed (rc %i). %s", ZelAgent::s_prodHome, error,
               std::strerror(error));
    return false;
  }
  return true;
}

bool readProductVersion() {
  RAS1_FUNCTION();
  const char* product = ZelAgent::registeredProduct();
  const int rc = IRA_SetVersionUsingProduct(product, ZelAgent::s_iraVersionBuff,
                                            sizeof(ZelAgent::s_iraVersionBuff));
  ZelAgent::s_iraVersion = ZelAgent::s_iraVersionBuff;
  if (rc != 0) {
    RAS1_PRINT("ERROR: IRA_SetVersionUsingProduct(%s) failed (rc %i)", product, rc);
    return false;
  }
  RAS1_PRINT_IF(kRas1Flow, "Product version in registry: <%s>", ZelAgent::s_iraVersion);
  return true;
}

void clampReplyTimeout() {
  RAS1_FUNCTION();
  if (ZelAgent::s_replyTimeout <= kShortestReplyTimeoutMs) {
    ZelAgent::s_replyTimeout = kRaisedReplyTimeoutMs;
  }
  RAS1_PRINT_IF(kRas1Flow, "Reply wait timeout set to %lu", ZelAgent::s_replyTimeout);
}

bool setAffinities(const std::string& agentAffinity) {
  RAS1_FUNCTION();
  const char* const affinities[] = {agentAffinity.c_str(), ZelAffinity::kInternationalization,
                                    ZelAffinity::kDmParity, ZelAgent::s_versionAff.c_str()};
  for (const char* affinity : affinities) {
    const int rc = IRA_SetAffinity(affinity);
    if (rc != 0) {
      RAS1_PRINT("ERROR: IRA_SetAffinity(%s) failed (rc %i)", affinity, rc);
      return false;
    }
  }
  return true;
}

bool registerWithFramework(const ZelReqInit& request) {
  RAS1_FUNCTION();
  int rc = IRA_SetHostname(request.getHostName().c_str());
  if (rc != 0) {
    RAS1_PRINT("ERROR: IRA_SetHostname(%s) failed (rc %i)", request.getHostName().c_str(), rc);
    return false;
  }
  ZelAgent::s_versionAff = request.getVersionAffinity();
  if (!setAffinities(request.getAffinity())) {
    return false;
  }
  rc = IRA_SetCurrency(2, 4);
  if (rc != 0) {
    RAS1_PRINT("ERROR: IRA_SetCurrency() failed (rc %i)", rc);
    return false;
  }
  rc = IRA_RegisterCommandCallback(ZelAgent::registeredProduct(), ZelAgent::handleTakeAction);
  if (rc != 0) {
    RAS1_PRINT("ERROR: IRA_RegisterCommandCallback() failed (rc %i)", rc);
    return false;
  }
  IRA_RegisterAgentLoader(LoadAgents);
  return true;
}

}  // namespace

ZelAgent::ZelAgent() { s_agent = this; }

ZelAgent::~ZelAgent() { s_agent = nullptr; }

ZelAgent* ZelAgent::getInstance() { return s_agent; }

const char* ZelAgent::registeredProduct() {
  return *s_prodCode == '\0' ? s_prodCode : s_prodCode + 1;
}

ZelTableManager* ZelAgent::createTableManager(const char* tableName,
                                              std::vector<ZelColumnInfo*>* columns, bool sitTrap) {
  RAS1_FLOW();
  return sitTrap ? new ZelSitTrapManager(s_prodCode, tableName, columns)
                 : new ZelTableManager(s_prodCode, tableName, columns);
}

void ZelAgent::subscribeNotificationHandlers() {
  RAS1_FLOW();
  const ZelClientUse use;
  ZelClient* client = ZelClient::getInstance();
  client->subscribe(subnodeRegHandler);
  client->subscribe(subnodeDeregHandler);
  client->subscribe(sampleEmitHandler);
  client->subscribe(shutdownHandler);
}

int ZelAgent::start() {
  RAS1_FLOW();
  releaseSignals();
  int initialised = 0;
  zelGuarded(ras1Entry, [&] { initialised = init(); });
  if (initialised == 0) {
    return ras1Flow.result(-1);
  }
  zelGuarded(ras1Entry, [] { runMainLoop(); });
  s_started.store(false);
  RAS1_PRINT("Agent stopped");
  return ras1Flow.result(0);
}

void ZelAgent::runMainLoop() {
  zelSaveJvmSignals();
  if (s_isShutdown.load()) {
    s_shutdownEvent.wait(kEarlyShutdownWaitMs);
    return;
  }
  getInstance()->subscribeNotificationHandlers();
  s_started.store(true);
  char name[] = "vu_agent";
  char* argv[] = {name, nullptr};
  kramain(1, argv);
}

int ZelAgent::init() {
  RAS1_FLOW();
  if (!readEnvironment() || !enterHome()) {
    return ras1Flow.result(0);
  }
  s_replyTimeout = std::strtoul(BSS1_GetEnv("ZEL_REPLY_TIMEOUT", "300"), nullptr, 10) * 1000;
  const std::string hostName = BSS1_GetEnv("VUIRA_HOSTNAME", IRA_GetHostname());
  if (!readProductVersion()) {
    return ras1Flow.result(0);
  }
  clampReplyTimeout();

  ZelReqInit request(hostName, s_managers);
  ZelClient::run(request, false);
  if (request.isAppExc() || !registerWithFramework(request)) {
    return ras1Flow.result(0);
  }

  static unsigned long procInfoThread;
  const char* interval = BSS1_GetEnv("ZEL_PROCINFO_INTERVAL", nullptr);
  zelThreadStart(&procInfoThread, zelProcInfoLogger, const_cast<char*>(interval));
  return ras1Flow.result(1);
}

int ZelAgent::loadAgents() {
  RAS1_FLOW();
  zelRestoreJvmSignals();
  zelInstallSignalHandler();
  int result = 1;
  zelGuarded(ras1Entry, [&] { registerTablesAndStart(result); });
  if (result == 1) {
    shutdown();
  }
  return ras1Flow.result(result);
}

void ZelAgent::registerTablesAndStart(int& result) {
  for (const auto& [name, manager] : s_managers) {
    manager->registration();
  }
  ZelReqStart request;
  ZelClient::run(request, false);
  if (!request.isAppExc()) {
    result = 0;
    zelStartHttpServer();
  }
}

void ZelAgent::stop() {
  RAS1_FLOW();
  if (s_started.load()) {
    zelGuarded(ras1Entry, [] {
      ZelReqShutdown request;
      ZelClient::run(request, true);
    });
  }
  s_isShutdown.store(true);
  shutdown();
}

void ZelAgent::shutdown() {
  RAS1_FLOW();
  s_isShutdown.store(true);
  s_shutdownEvent.signal(true);
  RAS1_PRINT("Agent shuts down ...");
  IRA_Shutdown(1);
  ZelClient::destroy();
}

bool ZelAgent::isShutdown(unsigned long timeoutMs) {
  if (!s_isShutdown.load() && timeoutMs != 0 && s_shutdownEvent.wait(timeoutMs)) {
    s_isShutdown.store(true);
  }
  return s_isShutdown.load();
}

bool zelIsEnding() { return ZelAgent::isShutdown(0); }

void zelEndAgent() { ZelAgent::shutdown(); }

const char* zelProductCode() { return ZelAgent::s_prodCode; }

const char* zelInstanceId() { return ZelAgent::s_instId; }

int zelAgentStart() { return ZelAgent::start(); }

void zelAgentStop() { ZelAgent::stop(); }

int zelWaitForAgentShutdown(unsigned long timeout) { return ZelAgent::isShutdown(timeout) ? 1 : 0; }

int LoadAgents() { return ZelAgent::loadAgents(); }
