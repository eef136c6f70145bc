#include "bridge/jni/zeljvm.h"

#include <sys/stat.h>

#include <cstdarg>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

#include "support/jvm_fixture.h"
#include "support/trace_view.h"
#include "zelagent.h"

using fakejvm::Raise;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

class ZelJvmTest : public JvmTest {
 protected:
  bool startThrows(const std::string& file = "zeljvm.cpp") {
    return throwsZelException(file, [] { ZelJvm::start(); });
  }

  static jint printToLog(const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    const jint written = ZelJvm::vfprintfHook(stderr, format, args);
    va_end(args);
    return written;
  }
};

using ZelJvmDeathTest = ZelJvmTest;

TEST_F(ZelJvmTest, LoadOpensTheLibraryThatTheEnvironmentNames) {
  void* library = nullptr;
  const auto messages = messagesOf([&] { library = ZelJvm::load(); });

  EXPECT_NE(library, nullptr);
  EXPECT_THAT(messages, ElementsAre(std::string("Loading JVM ") + FAKE_JVM_LIBRARY));
}

TEST_F(ZelJvmTest, LoadPutsTheHandleIntoTheExitEventOfTheFlowClass) {
  framework.setAllMasks(kRas1Flow);
  void* library = ZelJvm::load();

  char expected[40];
  std::snprintf(expected, sizeof(expected), "exit %p", library);
  EXPECT_EQ(framework.trace().back().text, expected);
  EXPECT_EQ(framework.trace().back().function, "load");
  EXPECT_EQ(framework.trace().back().unit, "ZELJVM");
}

TEST_F(ZelJvmTest, AMissingVariableIsTracedAndThrown) {
  framework.env.erase("ZEL_LIBJVM");

  EXPECT_THAT(messagesOf([&] { EXPECT_TRUE(startThrows()); }),
              ElementsAre("ERROR: ZEL_LIBJVM is not set"));
}

TEST_F(ZelJvmTest, ALibraryThatCannotBeLoadedIsTracedWithTheLoadersReason) {
  framework.env["ZEL_LIBJVM"] = "/nowhere/libjvm.so";

  EXPECT_THAT(
      messagesOf([&] { EXPECT_TRUE(startThrows()); }),
      ElementsAre("Loading JVM /nowhere/libjvm.so",
                  StartsWith("ERROR: failed to load JVM. /nowhere/libjvm.so: cannot open")));
}

TEST_F(ZelJvmTest, ALibraryWithoutTheEntryPointIsTracedAndThrown) {
  framework.env["ZEL_LIBJVM"] = NOT_A_JVM_LIBRARY;

  EXPECT_THAT(messagesOf([&] { EXPECT_TRUE(startThrows()); }),
              ElementsAre(StartsWith("Loading JVM "), "ERROR: JNI_CreateJavaVM() failed"));
  EXPECT_NE(ZelJvm::s_dll.load(), nullptr);
}

TEST_F(ZelJvmTest, WithoutAnOptionsFileNoJvmIsCreated) {
  std::filesystem::remove("config/xywb.properties");

  EXPECT_THAT(messagesOf([&] { EXPECT_TRUE(startThrows()); }),
              ElementsAre(StartsWith("Loading JVM "),
                          "ERROR: fopen(config/xywb.properties) failed (errno 2). "
                          "No such file or directory"));
  EXPECT_THAT(jvm.calls(), IsEmpty());
}

TEST_F(ZelJvmTest, OptionsAreTheFilesThenTheEnvironmentsThenTheHooks) {
  writeOptions("app.jar\n-Xrs\n");
  framework.env["KDCB0_HOSTNAME"] = "127.0.0.1";
  framework.env["XY_VRML"] = "vrml.xml";

  ZelJvm::start();

  EXPECT_THAT(jvm.options(),
              ElementsAre("-Djava.class.path=app.jar", "-Xrs", "-Dzel.listeneraddress=127.0.0.1",
                          "-Dzel.vrml=vrml.xml", "exit", "abort", "vfprintf"));
  EXPECT_EQ(jvm.extraInfo("exit"), reinterpret_cast<void*>(&ZelJvm::exitHook));
  EXPECT_EQ(jvm.extraInfo("abort"), reinterpret_cast<void*>(&ZelJvm::abortHook));
  EXPECT_EQ(jvm.extraInfo("vfprintf"), reinterpret_cast<void*>(&ZelJvm::vfprintfHook));
  EXPECT_EQ(jvm.extraInfo("-Xrs"), nullptr);
}

TEST_F(ZelJvmTest, TheVariableIsNamedByTheProductCodeAsItIsAndTheFileInLowerCase) {
  ZelAgent::s_prodCode = "xY";
  framework.env["XY_VRML"] = "no";
  framework.env["xY_VRML"] = "yes";

  ZelJvm::start();

  EXPECT_THAT(jvm.options(), ElementsAre("-Djava.class.path=app.jar", "-Dzel.vrml=yes", "exit",
                                         "abort", "vfprintf"));
}

TEST_F(ZelJvmTest, TheEnvironmentIsReadInOrder) {
  ZelJvm::start();

  EXPECT_THAT(framework.callsOf("BSS1_GetEnv"),
              ElementsAre("BSS1_GetEnv(ZEL_LIBJVM)", "BSS1_GetEnv(KDCB0_HOSTNAME)",
                          "BSS1_GetEnv(XY_VRML)"));
}

TEST_F(ZelJvmTest, TheJvmIsAskedForVersion14AndToIgnoreUnknownOptions) {
  ZelJvm::start();

  ASSERT_TRUE(jvm.args().has_value());
  EXPECT_EQ(jvm.args()->version, 0x00010004);
  EXPECT_EQ(jvm.args()->nOptions, 4);
  EXPECT_EQ(jvm.args()->ignoreUnrecognized, JNI_TRUE);
}

TEST_F(ZelJvmTest, GatheredOptionsAreTracedInTheDetailClassOnly) {
  writeOptions("app.jar\n-Xrs\n");
  jvm.createResult = JNI_ERR;
  const std::string failure = "ERROR[-1]: JNI_CreateJavaVM() failed: unknown error";

  framework.setMask("ZELJVM", fake::allBut(kRas1Detail));
  EXPECT_THAT(messagesOf([&] { EXPECT_TRUE(startThrows()); }),
              ElementsAre(StartsWith("Loading JVM "), failure));

  framework.setMask("ZELJVM", kRas1Detail);
  EXPECT_THAT(
      messagesOf([&] { EXPECT_TRUE(startThrows()); }),
      ElementsAre(StartsWith("Loading JVM "), "Added JVM option '-Djava.class.path=app.jar'",
                  "Added JVM option '-Xrs'", failure));
}

TEST_F(ZelJvmTest, TheLogIsNamedByProductInstanceAndTime) {
  const auto messages = messagesOf([] { ZelJvm::start(); });

  ASSERT_EQ(logFiles().size(), 1U);
  EXPECT_THAT(logFiles().front(), MatchesRegex("XY\\.inst\\.[0-9]+\\.JVM\\.log"));
  EXPECT_EQ(messages.back(), "JVM log:  ../../logs/" + logFiles().front());
  EXPECT_NE(ZelJvm::s_log.load(), nullptr);
}

TEST_F(ZelJvmTest, WithoutALogTheJvmGetsOneOptionFewerAndStarts) {
  std::filesystem::remove(root + "/logs");

  const auto messages = messagesOf([] { ZelJvm::start(); });

  EXPECT_THAT(jvm.options(), ElementsAre("-Djava.class.path=app.jar", "exit", "abort"));
  EXPECT_EQ(ZelJvm::s_log.load(), nullptr);
  ASSERT_EQ(messages.size(), 3U);
  const std::string warning = "WARN: failed to open ";
  EXPECT_THAT(messages[1],
              MatchesRegex(warning + "\\.\\./\\.\\./logs/XY\\.inst\\.[0-9]+\\.JVM\\.log"));
  EXPECT_EQ(messages[2], "JVM log:  " + messages[1].substr(warning.size()));
  EXPECT_EQ(printToLog("lost"), 0);
}

TEST_F(ZelJvmTest, TheLogIsForTheUserAndTheGroupOnly) {
  const mode_t mask = umask(0);
  ZelJvm::start();
  umask(mask);

  ASSERT_EQ(logFiles().size(), 1U);
  EXPECT_EQ(std::filesystem::status(root + "/logs/" + logFiles().front()).permissions(),
            std::filesystem::perms(0640));
}

TEST_F(ZelJvmTest, ALogThatLeadsElsewhereOrKeepsItsWriterWaitingIsNotOpened) {
  const std::string other = root + "/other";
  std::ofstream(other) << "kept";
  const auto link = [&](const std::string& name) { std::filesystem::create_symlink(other, name); };
  const auto pipe = [](const std::string& name) { ASSERT_EQ(mkfifo(name.c_str(), 0600), 0); };
  for (const std::function<void(const std::string&)>& put :
       {std::function<void(const std::string&)>(link), {pipe}}) {
    // Whichever second of the test's time the log is named by.
    const std::time_t now = std::time(nullptr);
    for (std::time_t second = now; second < now + 600; ++second) {
      const std::string name = root + "/logs/XY.inst." + std::to_string(second) + ".JVM.log";
      std::filesystem::remove(name);
      put(name);
    }

    const auto messages = messagesOf([] { ZelJvm::start(); });

    EXPECT_THAT(messages[1], StartsWith("WARN: failed to open "));
    EXPECT_EQ(ZelJvm::s_log.load(), nullptr);
    ZelJvm::stop();
  }
  std::ifstream in(other);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "kept");
}

TEST_F(ZelJvmTest, StartCallsTheJvmInOrder) {
  ZelJvm::start();

  const std::string msg = "com/qrv/norvel/monitoring/toolkit/workbench/ipc/msg/jni/JniServer";
  std::vector<std::string> expected = {"JNI_CreateJavaVM()", "AttachCurrentThreadAsDaemon(null)"};
  const auto addClass = [&](const std::string& name, const std::vector<std::string>& methods) {
    expected.push_back("FindClass(" + name + ")");
    expected.push_back("NewGlobalRef(class " + name + ")");
    expected.push_back("DeleteLocalRef(class " + name + ")");
    for (const std::string& method : methods) {
      expected.push_back("GetMethodID(" + name + "." + method + ")");
    }
  };
  addClass("java/lang/String", {});
  addClass("java/lang/Integer", {"<init>(I)V", "intValue()I"});
  addClass("java/lang/Long", {"<init>(J)V", "longValue()J"});
  addClass("java/lang/Boolean", {"<init>(Z)V", "booleanValue()Z"});
  addClass("java/util/Iterator", {"next()Ljava/lang/Object;", "hasNext()Z"});
  addClass("java/util/Map$Entry", {"getKey()Ljava/lang/Object;", "getValue()Ljava/lang/Object;"});
  addClass("java/util/HashMap",
           {"<init>()V", "put(Ljava/lang/Object;Ljava/lang/Object;)Ljava/lang/Object;",
            "get(Ljava/lang/Object;)Ljava/lang/Object;", "newEntryIterator()Ljava/util/Iterator;"});
  addClass("java/util/ArrayList",
           {"<init>()V", "add(Ljava/lang/Object;)Z", "get(I)Ljava/lang/Object;", "size()I"});
  addClass("[B", {});
  addClass(msg, {"processInbound(Ljava/lang/Object;)V"});
  addClass("java/lang/Error", {});
  EXPECT_THAT(jvm.calls(), ElementsAreArray(expected));
  EXPECT_EQ(jvm.localReferences(), 0U);
  EXPECT_EQ(jvm.globalReferences(), 11U);
}

TEST_F(ZelJvmTest, AnyClassOrMethodThatIsMissingStopsTheStart) {
  const std::string server = "com/qrv/norvel/monitoring/toolkit/workbench/ipc/msg/jni/JniServer";
  const struct {
    std::string missing;
    bool isMethod;
    std::string text;
  } cases[] = {
      {"java/util/ArrayList", false, "java.lang.NoClassDefFoundError: java/util/ArrayList"},
      {"java/util/HashMap.newEntryIterator", true, "java.lang.NoSuchMethodError: newEntryIterator"},
      {server, false, "java.lang.NoClassDefFoundError: " + server},
      {server + ".processInbound", true, "java.lang.NoSuchMethodError: processInbound"},
      {"java/lang/Error", false, "java.lang.NoClassDefFoundError: java/lang/Error"},
  };
  for (const auto& entry : cases) {
    (entry.isMethod ? jvm.missingMethods : jvm.missingClasses) = {entry.missing};

    EXPECT_THAT(messagesOf([&] { EXPECT_TRUE(startThrows("zeljni.cpp")); }),
                ElementsAre(StartsWith("Loading JVM "), StartsWith("JVM log:  "),
                            "ERROR: caught Java exception", entry.text));

    EXPECT_EQ(ZelJvm::s_errorClass.load(), nullptr);
    jvm.missingClasses.clear();
    jvm.missingMethods.clear();
  }
}

TEST_F(ZelJvmTest, AFailedCreationIsTracedWithCodeAndText) {
  const std::pair<int, std::string> cases[] = {
      {JNI_ERR, "ERROR[-1]: JNI_CreateJavaVM() failed: unknown error"},
      {JNI_EDETACHED, "ERROR[-2]: JNI_CreateJavaVM() failed: thread detached from the VM"},
      {JNI_EVERSION, "ERROR[-3]: JNI_CreateJavaVM() failed: JNI version error"},
      {JNI_ENOMEM, "ERROR[-4]: JNI_CreateJavaVM() failed: not enough memory"},
      {JNI_EEXIST, "ERROR[-5]: JNI_CreateJavaVM() failed: VM already created"},
      {JNI_EINVAL, "ERROR[-6]: JNI_CreateJavaVM() failed: invalid arguments"},
  };
  for (const auto& [code, text] : cases) {
    jvm.createResult = code;
    const auto messages = messagesOf([&] { EXPECT_TRUE(startThrows()); });
    EXPECT_EQ(messages.back(), text);
    EXPECT_EQ(ZelJvm::s_jvm.load(), nullptr);
  }
}

TEST_F(ZelJvmTest, OtherReturnCodesAreUnknownErrors) {
  for (const int code : {-1, 0, 1, -7, 100}) {
    EXPECT_STREQ(ZelJvm::getErrorMsg(code), "unknown error");
  }
}

TEST_F(ZelJvmTest, AttachGivesTheThreadsEnvironmentHoweverOften) {
  ZelJvm::start();
  EXPECT_EQ(ZelJvm::attach(), jvm.env());
  EXPECT_EQ(ZelJvm::attach(), jvm.env());

  JNIEnv* other = nullptr;
  std::thread([&] { other = ZelJvm::attach(); }).join();

  EXPECT_NE(other, nullptr);
  EXPECT_NE(other, jvm.env());
}

TEST_F(ZelJvmTest, AFailedAttachIsTracedAndThrown) {
  ZelJvm::start();
  jvm.attachResult = JNI_ENOMEM;

  EXPECT_THAT(
      messagesOf([] { EXPECT_TRUE(throwsZelException("zeljvm.cpp", [] { ZelJvm::attach(); })); }),
      ElementsAre("ERROR[-4]: AttachCurrentThreadAsDaemon() failed: not enough memory"));
}

TEST_F(ZelJvmTest, APositiveAttachResultIsNoFailure) {
  ZelJvm::start();
  jvm.attachResult = 1;

  EXPECT_EQ(ZelJvm::attach(), jvm.env());
}

TEST_F(ZelJvmTest, WithoutAJvmNoThreadCanBeAttached) {
  EXPECT_THAT(
      messagesOf([] { EXPECT_TRUE(throwsZelException("zeljvm.cpp", [] { ZelJvm::attach(); })); }),
      ElementsAre("ERROR[-2]: AttachCurrentThreadAsDaemon() failed: thread detached from the VM"));
}

TEST_F(ZelJvmTest, DetachDetachesAndTracesItsFailure) {
  ZelJvm::start();
  EXPECT_THAT(callsOf([] { ZelJvm::detach(); }), ElementsAre("DetachCurrentThread()"));

  jvm.detachResult = JNI_EDETACHED;
  EXPECT_THAT(
      messagesOf([] { EXPECT_TRUE(throwsZelException("zeljvm.cpp", [] { ZelJvm::detach(); })); }),
      ElementsAre("ERROR[-2]: DetachCurrentThread() failed: thread detached from the VM"));
}

TEST_F(ZelJvmTest, StopForgetsTheJvmAndClosesItsLogOnly) {
  ZelJvm::start();

  EXPECT_THAT(callsOf([] { ZelJvm::stop(); }), IsEmpty());

  EXPECT_EQ(ZelJvm::s_jvm.load(), nullptr);
  EXPECT_EQ(ZelJvm::s_log.load(), nullptr);
  EXPECT_NE(ZelJvm::s_dll.load(), nullptr);
}

TEST_F(ZelJvmTest, TheOutputHookWritesToTheLogWhateverTheStream) {
  ZelJvm::start();

  EXPECT_EQ(printToLog("%s %d\n", "heap", 5), 7);
  ZelJvm::stop();

  EXPECT_EQ(logText(), "heap 5\n");
  EXPECT_EQ(printToLog("%s\n", "after the end"), 0);
  EXPECT_EQ(logText(), "heap 5\n");
}

TEST_F(ZelJvmTest, TheLogMayBeClosedWhileTheJvmPrints) {
  ZelJvm::start();
  std::thread printer([] {
    while (printToLog("line\n") != 0) {
    }
  });

  ZelJvm::stop();

  printer.join();
}

TEST_F(ZelJvmDeathTest, TheExitHookPassesTheStatusOn) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  for (const int status : {0, 3}) {
    EXPECT_EXIT(
        {
          showTraceAtExit();
          ZelJvm::exitHook(status);
        },
        ExitedWithCode(status),
        "FATAL: JVM exited with code " + std::to_string(status) + ". Agent terminated.\n");
  }
}

TEST_F(ZelJvmDeathTest, TheAbortHookEndsTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      {
        showTraceAtExit();
        ZelJvm::abortHook();
      },
      ExitedWithCode(255), "FATAL: JVM aborted. Agent terminated.\n");
}

}  // namespace
