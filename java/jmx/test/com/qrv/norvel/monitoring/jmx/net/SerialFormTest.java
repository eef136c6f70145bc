package com.qrv.norvel.monitoring.jmx.net;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;
import static org.junit.jupiter.params.provider.Arguments.arguments;

import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.ObjectOutputStream;
import java.io.Serializable;
import java.io.UncheckedIOException;
import java.lang.management.ManagementFactory;
import java.lang.reflect.Proxy;
import java.math.BigDecimal;
import java.rmi.Remote;
import java.rmi.RemoteException;
import java.rmi.registry.LocateRegistry;
import java.rmi.server.RemoteObject;
import java.rmi.server.RemoteObjectInvocationHandler;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.Date;
import java.util.HashMap;
import java.util.HashSet;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Random;
import java.util.Set;
import java.util.TreeMap;
import java.util.concurrent.TimeUnit;
import java.util.stream.Stream;
import javax.management.MBeanServer;
import javax.management.Notification;
import javax.management.ObjectName;
import javax.management.RuntimeMBeanException;
import javax.management.remote.NotificationResult;
import javax.management.remote.TargetedNotification;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

final class SerialFormTest {
  private static final long MANY = 1_000_000;
  private static final int CONTENT = 4; // comes after magic and version

  private static Stream<Arguments> harmless() throws Exception {
    MBeanServer server = ManagementFactory.getPlatformMBeanServer();
    Remote registry = LocateRegistry.getRegistry("127.0.0.1", 1); // calls nobody
    Object proxy =
        Proxy.newProxyInstance(
            SerialFormTest.class.getClassLoader(),
            new Class<?>[] {Remote.class},
            new RemoteObjectInvocationHandler(((RemoteObject) registry).getRef()));
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("a", List.of(1, 2L, 3.0, 'c', (byte) 4, (short) 5, 6f, true));
    map.put("b", new TreeMap<>(Map.of("x", new int[] {1, 2}, "y", new Object[] {null, "z"})));
    return Stream.of(
        arguments("null", null),
        arguments("a text", "x"),
        arguments("a long text", "x".repeat(100_000)),
        arguments("arrays", new Object[] {new long[2][3], new boolean[5], new String[] {"s"}}),
        arguments("a map of lists", map),
        arguments("numbers and dates", List.of(BigDecimal.TEN, new Date(0), TimeUnit.DAYS)),
        arguments("a class", List.of(String.class, int[].class)),
        arguments("empty ones", List.of(List.of(), Map.of(), Set.of(), Collections.emptyList())),
        arguments("an exception", new IllegalStateException("x")),
        arguments(
            "exceptions with causes",
            new RuntimeMBeanException(
                new IllegalStateException(new RemoteException("r", new Exception("e"))))),
        arguments("a stub", registry),
        arguments("a proxy", proxy),
        arguments("names", server.queryNames(null, null)),
        arguments(
            "tables", server.getAttribute(name("java.lang:type=Runtime"), "SystemProperties")),
        arguments(
            "threads",
            server.invoke(
                name("java.lang:type=Threading"),
                "dumpAllThreads",
                new Object[] {true, true},
                new String[] {"boolean", "boolean"})),
        arguments("a bean's description", server.getMBeanInfo(name("java.lang:type=Memory"))),
        arguments("collections", notifications(1000)));
  }

  /** As many as one answer has at most, each as large as one of a garbage collection. */
  private static NotificationResult notifications(int count) throws Exception {
    MBeanServer server = ManagementFactory.getPlatformMBeanServer();
    System.gc();
    List<Object> infos = new ArrayList<>();
    for (ObjectName bean : server.queryNames(name("java.lang:type=GarbageCollector,*"), null)) {
      infos.add(server.getAttribute(bean, "LastGcInfo"));
    }
    infos.removeIf(info -> info == null);
    assertThat(infos).isNotEmpty();
    TargetedNotification[] targeted = new TargetedNotification[count];
    for (int i = 0; i < count; i++) {
      Notification notification = new Notification("gc", name("a:b=c"), i);
      // Written anew each time, as by a JVM that collects its garbage again and again.
      notification.setUserData(new ArrayList<>(infos));
      targeted[i] = new TargetedNotification(notification, 1);
    }
    return new NotificationResult(0, count, targeted);
  }

  private static ObjectName name(String text) throws Exception {
    return new ObjectName(text);
  }

  @ParameterizedTest(name = "{0}")
  @MethodSource("harmless")
  void whatJvmsSendComesIn(String what, Object sent) throws Exception {
    byte[] stream = stream(sent);

    assertThat(read(stream)).isEqualTo(stream.length);
  }

  private static Stream<Hostile> hostile() {
    Set<Object> sets = new HashSet<>();
    Set<Object> left = sets;
    Set<Object> right = new HashSet<>();
    for (int level = 0; level < 30; level++) {
      // Filled after they were added, or this would take as long as reading it.
      Set<Object> nextLeft = new HashSet<>();
      Set<Object> nextRight = new HashSet<>(Set.of("x"));
      for (Set<Object> set : List.of(left, right)) {
        set.add(nextLeft);
        set.add(nextRight);
      }
      left = nextLeft;
      right = nextRight;
    }
    List<Object> lists = new ArrayList<>();
    List<Object> thousands = new ArrayList<>(Collections.nCopies(1000, "x"));
    for (int level = 0; level < 30; level++) {
      lists = new ArrayList<>(Arrays.asList(lists, lists));
    }
    for (int level = 0; level < 2; level++) {
      thousands = new ArrayList<>(Collections.nCopies(1000, thousands));
    }
    List<Object> deep = new ArrayList<>();
    for (int level = 0; level < SerialForm.MAX_DEPTH + 1; level++) {
      deep = new ArrayList<>(List.of(deep));
    }
    List<Object> itself = new ArrayList<>();
    itself.add(itself);
    Map<Object, Object> keys = new HashMap<>();
    for (int i = 0; i <= SerialForm.MAX_COMPOSED; i++) {
      keys.put(List.of(i, -31 * i), "all of one hash");
    }
    return Stream.of(
        new Hostile("steps to walk through", sets),
        new Hostile("steps to walk through", lists),
        new Hostile("steps to walk through", new HashSet<>(Set.of(thousands))),
        new Hostile("nested more than", deep),
        new Hostile("holds itself", itself),
        new Hostile("a hash table with more than", keys));
  }

  /** Hides what would keep the one busy who shows it, too. */
  private record Hostile(String why, Object sent) {
    @Override
    public String toString() {
      return why;
    }
  }

  @ParameterizedTest
  @MethodSource("hostile")
  void whatWouldKeepAThreadBusyIsRefused(Hostile hostile) throws Exception {
    byte[] stream = stream(hostile.sent());

    assertThatThrownBy(() -> read(stream))
        .isInstanceOf(RefusedAnswerException.class)
        .hasMessageContaining(hostile.why());
  }

  @Test
  void manySimpleKeysComeIn() throws Exception {
    Set<Object> names = new HashSet<>();
    for (int i = 0; i < 20_000; i++) {
      names.add(name("a:name=" + i));
    }
    byte[] stream = stream(names);

    assertThat(read(stream)).isEqualTo(stream.length);
  }

  @Test
  void objectsThatDescribeThemselvesAreRefused() throws Exception {
    byte[] stream = stream(java.time.LocalDate.EPOCH);

    assertThatThrownBy(() -> read(stream)).hasMessageContaining("describes itself");
  }

  @Test
  void moreObjectsThanTheMemoryIsMadeForAreRefused() throws Exception {
    byte[] stream = stream(new ArrayList<>(List.of("a", "b", "c")));

    assertThatThrownBy(() -> read(stream, 3)).hasMessageContaining("more than 3 objects");
  }

  @Test
  void malformedStreamsAreRefusedAndNeverEndInAnythingElse() throws Exception {
    List<byte[]> streams = new ArrayList<>();
    for (Object each : harmless().map(arguments -> arguments.get()[1]).toList()) {
      byte[] stream = stream(each);
      if (stream.length < 20_000) {
        streams.add(stream);
      }
    }
    Random random = new Random(1);
    for (int i = 0; i < 20_000; i++) {
      byte[] stream = streams.get(random.nextInt(streams.size())).clone();
      for (int change = random.nextInt(4); change >= 0; change--) {
        stream[random.nextInt(stream.length)] = (byte) random.nextInt();
      }
      try {
        read(stream);
      } catch (IOException e) {
        assertThat(e).hasMessageContaining("answer");
      }
    }
  }

  private static byte[] stream(Object sent) {
    ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    try (ObjectOutputStream output = new ObjectOutputStream(bytes)) {
      output.writeObject((Serializable) sent);
    } catch (IOException e) {
      throw new UncheckedIOException(e);
    }
    return bytes.toByteArray();
  }

  /** Gives how many bytes were read. */
  private static int read(byte[] stream) throws IOException {
    return read(stream, MANY);
  }

  private static int read(byte[] stream, long maxParts) throws IOException {
    AnswerTape tape = new AnswerTape(new ByteArrayInputStream(stream), Math.max(stream.length, 1));
    SerialForm form = SerialForm.begin(tape, maxParts);
    assertThat(tape.unplayed()).isLessThanOrEqualTo(CONTENT);
    form.readContent();
    return tape.unplayed();
  }
}
