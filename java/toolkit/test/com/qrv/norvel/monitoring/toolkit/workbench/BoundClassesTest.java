package com.qrv.norvel.monitoring.toolkit.workbench;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalStateException;

import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.Server;
import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.jni.JniServer;
import com.qrv.norvel.monitoring.toolkit.workbench.logging.handlers.RAS1Wrapper;
import com.qrv.norvel.monitoring.toolkit.workbench.osutils.DaemonWBProcess;
import com.qrv.norvel.monitoring.toolkit.workbench.pova.WbApp;
import java.lang.reflect.Constructor;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.util.HashMap;
import org.junit.jupiter.api.Test;

/** The classes and operations that the native side finds by name and signature. */
class BoundClassesTest {
  private static final String ROOT = "com.qrv.norvel.monitoring.toolkit.workbench.";

  @Test
  void makesTheOneServerAndKeepsItsNativeHidden() throws Exception {
    Method init = WbApp.class.getDeclaredMethod("init");
    assertThat(WbApp.class.getName()).isEqualTo(ROOT + "pova.WbApp");
    assertThat(Modifier.isStatic(init.getModifiers())).isTrue();
    assertThat(init.getReturnType().getName()).isEqualTo(ROOT + "ipc.msg.Server");

    Server server = WbApp.init();

    assertThat(server.getClass().getName()).isEqualTo(ROOT + "ipc.msg.jni.JniServer");
    server.processInbound(new HashMap<Integer, Object>());
    assertThatIllegalStateException().isThrownBy(WbApp::init);
    assertThatIllegalStateException().isThrownBy(JniServer::create);
  }

  @Test
  void takesMessagesAndSendsThemByAPrivateNative() throws Exception {
    Method inbound = JniServer.class.getDeclaredMethod("processInbound", Object.class);
    Method outbound = JniServer.class.getDeclaredMethod("doPutOutbound", Object.class);

    assertThat(inbound.getReturnType()).isEqualTo(void.class);
    assertThat(outbound.getReturnType()).isEqualTo(void.class);
    assertThat(Modifier.isNative(outbound.getModifiers())).isTrue();
    assertThat(Modifier.isPrivate(outbound.getModifiers())).isTrue();
    assertThat(Modifier.isStatic(outbound.getModifiers())).isFalse();
    for (Constructor<?> constructor : JniServer.class.getDeclaredConstructors()) {
      assertThat(Modifier.isPrivate(constructor.getModifiers())).isTrue();
    }
  }

  @Test
  void tracesByAStaticNative() throws Exception {
    Method trace =
        RAS1Wrapper.class.getDeclaredMethod(
            "rasTrace", int.class, String.class, String.class, String.class, String.class);

    assertThat(RAS1Wrapper.class.getName()).isEqualTo(ROOT + "logging.handlers.RAS1Wrapper");
    assertStaticNative(trace, void.class);
  }

  @Test
  void runsDaemonsByStaticNatives() throws Exception {
    Method run =
        DaemonWBProcess.class.getDeclaredMethod(
            "runDaemon", String.class, HashMap.class, String.class, String.class, String.class);
    Method isRunning = DaemonWBProcess.class.getDeclaredMethod("isRunning", long.class);

    assertThat(DaemonWBProcess.class.getName()).isEqualTo(ROOT + "osutils.DaemonWBProcess");
    assertStaticNative(run, void.class);
    assertStaticNative(isRunning, boolean.class);
  }

  private static void assertStaticNative(Method method, Class<?> result) {
    assertThat(method.getReturnType()).isEqualTo(result);
    assertThat(Modifier.isStatic(method.getModifiers())).isTrue();
    assertThat(Modifier.isNative(method.getModifiers())).isTrue();
  }
}
