package com.qrv.norvel.monitoring.jmx.link;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.Await;
import com.qrv.norvel.monitoring.jmx.ManualClock;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.net.RmiSetup;
import com.qrv.norvel.monitoring.jmx.net.TargetSockets;
import com.qrv.norvel.monitoring.jmx.table.BeanReads;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import com.qrv.norvel.monitoring.jmx.table.Rhythm;
import com.qrv.norvel.monitoring.jmx.table.SelfBeans;
import com.qrv.norvel.monitoring.jmx.table.StandardTables;
import com.qrv.norvel.monitoring.jmx.table.Unavailable;
import java.io.IOException;
import java.io.Serializable;
import java.lang.management.ManagementFactory;
import java.net.InetAddress;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.HashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.CountDownLatch;
import javax.management.MBeanServer;
import javax.management.NotificationBroadcasterSupport;
import javax.management.NotificationListener;
import javax.management.ObjectName;
import javax.management.remote.JMXConnector;
import javax.management.remote.JMXConnectorFactory;
import javax.management.remote.JMXConnectorServer;
import javax.management.remote.JMXConnectorServerFactory;
import javax.management.remote.JMXServiceURL;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

/** Over a real connection, to this JVM's own MBean server. */
final class RmiLinkTest {
  private static final String SAMPLE = "test:type=Sample";
  private static final int CALL_MILLIS = 1000;

  private final MBeanServer server = ManagementFactory.getPlatformMBeanServer();
  private static final int SELDOM_MILLIS = 10_000;
  private static final String[] ATTRIBUTES = {"Good", "Reads", "SeldomReads"};
  private static final Rhythm[] RHYTHMS = {
    Rhythm.EACH_SAMPLE, Rhythm.EACH_SAMPLE, Rhythm.SELDOM
  };
  private static final BeanReads ONE = new BeanReads(SAMPLE, ATTRIBUTES, RHYTHMS, null);
  private static final BeanReads ALL =
      new BeanReads("test:type=Sample,*", ATTRIBUTES, RHYTHMS, null);

  private final RecordingLog log = new RecordingLog();
  private final ManualClock clock = new ManualClock();
  private final LinkTimes times = new LinkTimes(CALL_MILLIS, SELDOM_MILLIS, clock);
  private final FetchThread fetches = new FetchThread("t");
  private final CountDownLatch fetched = new CountDownLatch(1);
  private JMXConnectorServer connectorServer;
  private JMXConnector connector;
  private RmiLink link;

  @BeforeEach
  void connect() throws Exception {
    TargetSockets sockets = new TargetSockets(RmiSetup.once(CALL_MILLIS));
    sockets.lead((host, port) -> InetAddress.getByName(host));
    sockets.adoptThread();
    server.registerMBean(new Sample(), new ObjectName(SAMPLE));
    connectorServer =
        JMXConnectorServerFactory.newJMXConnectorServer(
            new JMXServiceURL("service:jmx:rmi://"), null, server);
    connectorServer.start();
    connector = JMXConnectorFactory.connect(connectorServer.getAddress());
    link = new RmiLink("t", connector, connector.getMBeanServerConnection(), fetches, times, log);
  }

  @AfterEach
  void disconnect() throws Exception {
    server.unregisterMBean(new ObjectName(SAMPLE));
    connector.close();
    connectorServer.stop();
  }

  @Test
  void aConnectionThatFetchesNoMoreNotificationsFails() throws Exception {
    RmiLink listening = listenTo(SAMPLE, (notification, handback) -> {});
    listening.ping();
    assertThat(listening.read(ONE)).hasSize(1);

    endFetching();

    assertThatThrownBy(() -> listening.read(ONE))
        .isInstanceOf(IOException.class)
        .hasMessage("its notifications can no longer be fetched");
    assertThatThrownBy(listening::ping).isInstanceOf(IOException.class);
  }

  @Test
  void aConnectionThatNobodyListensToNeedNotFetch() throws Exception {
    NotificationListener listener = (notification, handback) -> {};
    RmiLink listening = listenTo(SAMPLE, listener);

    listening.removeListener(new ObjectName(SAMPLE), listener);
    endFetching();

    listening.ping();
    assertThat(listening.read(ONE)).hasSize(1);
  }

  @Test
  void aConnectionWhoseBeansHaveGoneNeedNotFetch() throws Exception {
    ObjectName other = new ObjectName("test:type=Gone");
    server.registerMBean(new Sample(), other);
    RmiLink listening = listenTo(other.toString(), (notification, handback) -> {});

    server.unregisterMBean(other);
    endFetching();

    listening.ping();
    assertThat(listening.read(ONE)).hasSize(1);
  }

  /** To the server itself, with a fetch in progress: RMI's filter here takes no listeners. */
  private RmiLink listenTo(String bean, NotificationListener listener) throws Exception {
    RmiLink listening = new RmiLink("t", connector, server, fetches, times, log);
    fetches.execute(
        () -> {
          try {
            fetched.await();
          } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
          }
        });
    listening.addListener(new ObjectName(bean), listener, null);
    return listening;
  }

  /** The fetch asks for no other, like one that fails. */
  private void endFetching() throws Exception {
    fetched.countDown();
    Await.until("the fetching has ended", fetches::hasEnded);
  }

  @Test
  void givesWhatDirectCallsGive() throws IOException {
    for (BeanTable table : StandardTables.all()) {
      Object[][] remote = table.read(link, "me");
      Object[][] self = table.read(new SelfBeans(), "me");

      assertThat(remote).as(table.name()).hasSameSizeAs(self);
      for (int i = 0; i < remote[0].length; i++) {
        assertThat(remote[0][i].getClass())
            .as(table.name() + '.' + table.column(i).name())
            .isEqualTo(self[0][i].getClass());
      }
    }
    assertThat(log.errors()).isEmpty();
  }

  @Test
  void aBrokenAttributeCostsItsCellAndOneLine() throws IOException {
    for (int i = 0; i < 3; i++) {
      Object[] values = read("Good", "Broken", "Absent", "Nothing")[0];

      assertThat(values[0]).isEqualTo(7);
      assertThat(values[1]).isInstanceOf(Unavailable.class);
      assertThat(values[2]).isInstanceOf(Unavailable.class);
      assertThat(values[3]).isSameAs(Unavailable.NOTHING);
    }

    List<String> errors = log.errors();
    assertThat(errors).hasSize(2);
    assertThat(errors.get(0)).contains("test:type=Sample gives no Broken").contains("on purpose");
    assertThat(errors.get(1)).contains("gives no Absent: it has no such attribute");
  }

  @Test
  void aValueOfAForeignClassIsNotAcceptedAndCostsItsCellOnly() throws IOException {
    Foreign.loadedOverTheWire = false;
    for (int i = 0; i < 2; i++) {
      Object[] values = read("Good", "Foreign")[0];

      assertThat(values[0]).isEqualTo(7);
      assertThat(values[1]).isInstanceOf(Unavailable.class);
    }

    assertThat(Foreign.loadedOverTheWire).isFalse();
    assertThat(log.errors()).hasSize(1);
    assertThat(log.errors().get(0)).contains("its class is not accepted");
  }

  @Test
  void aValueThatTheMemoryIsNotMadeForCostsItsCellOnly() throws IOException {
    Object[] values = read("Good", "Huge")[0];

    assertThat(values[0]).isEqualTo(7);
    assertThat(values[1]).isInstanceOf(Unavailable.class);
    assertThat(log.errors()).hasSize(1);
    assertThat(log.errors().get(0))
        .contains("gives no Huge: the answer has more than");
  }

  @Test
  void anAnswerThatWouldKeepAThreadBusyCostsItsCellOnly() throws IOException {
    Object[] values = read("Good", "Nested")[0];

    assertThat(values[0]).isEqualTo(7);
    assertThat(values[1]).isInstanceOf(Unavailable.class);
    assertThat(log.errors()).hasSize(1);
    assertThat(log.errors().get(0)).contains("gives no Nested: the answer takes more than");
    link.ping();
  }

  @Test
  void anAttributeThatFailedIsReadAgainThoughItIsReadSeldom() throws IOException {
    Rhythm[] seldom = {Rhythm.EACH_SAMPLE, Rhythm.SELDOM};
    BeanReads reads = new BeanReads(SAMPLE, new String[] {"Good", "Moody"}, seldom, null);
    LinkTimes times = new LinkTimes(CALL_MILLIS, 3_600_000, clock);
    RmiLink patient =
        new RmiLink("t", connector, connector.getMBeanServerConnection(), fetches, times, log);
    for (Moody mood : new Moody[] {Moody.THROWS, Moody.IS_FOREIGN}) {
      Sample.moody = mood;
      clock.advance(3_600_000);
      assertThat(patient.read(reads)[0][1]).isInstanceOf(Unavailable.class);
      Sample.moody = Moody.IS_WELL;
      assertThat(patient.read(reads)[0][1]).isInstanceOf(Unavailable.class);

      clock.advance(KnownBean.MIN_PAUSE_MILLIS);

      assertThat(patient.read(reads)).isEqualTo(new Object[][] {{7, "well"}});
    }
    assertThat(log.errors()).hasSize(2);
  }

  @Test
  void aBeanThatIsNotThereGivesNoRow() throws IOException {
    assertThat(link.read("test:type=Other", new String[] {"Good"})).isEmpty();
    assertThat(link.read("test:type=Other,name=*", new String[] {"Good"})).isEmpty();
  }

  @Test
  void aClosedConnectionIsAnIoException() throws Exception {
    connectorServer.stop();

    assertThatThrownBy(() -> read("Good")).isInstanceOf(IOException.class);
  }

  @Test
  void aValueThatIsReadSeldomIsKeptForItsTime() throws IOException {
    assertThat(link.read(ONE)).isEqualTo(new Object[][] {{7, 1, 1}});
    assertThat(link.read(ONE)).isEqualTo(new Object[][] {{7, 2, 1}});

    clock.advance(SELDOM_MILLIS - 1);
    assertThat(link.read(ONE)).isEqualTo(new Object[][] {{7, 3, 1}});
    clock.advance(1);
    assertThat(link.read(ONE)).isEqualTo(new Object[][] {{7, 4, 2}});
  }

  @Test
  void newBeansOfAPatternAreFoundWithinAMinute() throws Exception {
    assertThat(link.read(ALL)).hasSize(1);
    ObjectName second = new ObjectName("test:type=Sample,name=second");
    server.registerMBean(new Sample(), second);
    try {
      clock.advance(60_000);

      assertThat(link.read(ALL))
          .containsExactlyInAnyOrder(new Object[] {7, 2, 2}, new Object[] {7, 1, 1});
    } finally {
      server.unregisterMBean(second);
    }
    assertThat(link.read(ALL)).isEqualTo(new Object[][] {{7, 3, 2}});
  }

  @Test
  void aBeanThatCameBackHasNoValuesOfTheOneBefore() throws Exception {
    link.read(ONE);
    link.read(ONE);
    server.unregisterMBean(new ObjectName(SAMPLE));
    assertThat(link.read(ONE)).isEmpty();
    server.registerMBean(new Sample(), new ObjectName(SAMPLE));

    assertThat(link.read(ONE)).isEqualTo(new Object[][] {{7, 1, 1}});
  }

  @Test
  void aBeanIsReadSeldomWhenItsValueOrAllItsAttributesSaySo() throws IOException {
    String[] attributes = {"Kind", "Reads"};
    Rhythm[] each = {Rhythm.EACH_SAMPLE, Rhythm.EACH_SAMPLE};
    Rhythm[] seldom = {Rhythm.SELDOM, Rhythm.SELDOM};
    BeanReads byKind = new BeanReads(SAMPLE, attributes, each, "QUIET");
    BeanReads byOtherKind = new BeanReads(SAMPLE, attributes, each, "LOUD");
    BeanReads byRhythm = new BeanReads(SAMPLE, attributes, seldom, null);

    assertThat(twice(byKind)).isEqualTo(new Object[][] {{"QUIET", 1}});
    assertThat(twice(byOtherKind)).isEqualTo(new Object[][] {{"QUIET", 3}});
    assertThat(twice(byRhythm)).isEqualTo(new Object[][] {{"QUIET", 4}});
    clock.advance(SELDOM_MILLIS);
    assertThat(link.read(byRhythm)).isEqualTo(new Object[][] {{"QUIET", 5}});
  }

  private Object[][] twice(BeanReads reads) throws IOException {
    link.read(reads);
    return link.read(reads);
  }

  @Test
  void aSampleThatTakesTooLongIsRefusedAndTheConnectionStays() throws Exception {
    LinkTimes none = new LinkTimes(0, SELDOM_MILLIS, clock);
    RmiLink hasty =
        new RmiLink("t", connector, connector.getMBeanServerConnection(), fetches, none, log);

    assertThatThrownBy(() -> hasty.read(SAMPLE, new String[] {"Good"}))
        .isInstanceOf(IllegalStateException.class)
        .hasMessageContaining("test:type=Sample takes more than 0 ms");

    hasty.ping();
  }

  private final Map<List<String>, BeanReads> reads = new HashMap<>();

  /** As a table does, which reads the same each time. */
  private Object[][] read(String... attributes) throws IOException {
    Rhythm[] each = new Rhythm[attributes.length];
    Arrays.fill(each, Rhythm.EACH_SAMPLE);
    return link.read(
        reads.computeIfAbsent(
            List.of(attributes), key -> new BeanReads(SAMPLE, attributes, each, null)));
  }

  /** The interface of {@link Sample}. */
  public interface SampleMBean {
    int getGood();

    int getReads();

    int getSeldomReads();

    String getKind();

    int getBroken();

    String getNothing();

    Object getForeign();

    String getHuge();

    Object getNested();

    Object getMoody();
  }

  /** A bean with good and bad attributes. */
  public static final class Sample extends NotificationBroadcasterSupport
      implements SampleMBean {
    private int reads;
    private int seldomReads;
    static volatile Moody moody = Moody.IS_WELL;

    @Override
    public Object getMoody() {
      return switch (moody) {
        case IS_WELL -> "well";
        case THROWS -> throw new IllegalStateException("on purpose");
        case IS_FOREIGN -> new Foreign();
      };
    }

    /** Lists in lists in a set: 2^25 steps to the hash of its only element. */
    @Override
    public Object getNested() {
      List<Object> inner = new ArrayList<>();
      Set<Object> nested = new HashSet<>(Set.of(inner));
      for (int level = 0; level < 25; level++) {
        // Filled only now: the set has taken its hash before.
        List<Object> next = new ArrayList<>();
        inner.add(next);
        inner.add(next);
        inner = next;
      }
      return nested;
    }

    @Override
    public int getReads() {
      return ++reads;
    }

    @Override
    public String getKind() {
      return "QUIET";
    }

    @Override
    public int getSeldomReads() {
      return ++seldomReads;
    }

    @Override
    public int getGood() {
      return 7;
    }

    @Override
    public int getBroken() {
      throw new IllegalStateException("on purpose");
    }

    @Override
    public String getNothing() {
      return null;
    }

    @Override
    public Object getForeign() {
      return new Foreign();
    }

    @Override
    public String getHuge() {
      return "x".repeat((int) Math.min(64L << 20, Runtime.getRuntime().maxMemory() / 8) + 1);
    }
  }

  /** How an attribute is that changes. */
  private enum Moody {
    IS_WELL,
    THROWS,
    IS_FOREIGN
  }

  /** A class that no collector knows. */
  public static final class Foreign implements Serializable {
    private static final long serialVersionUID = 1L;
    static boolean loadedOverTheWire;

    private Object readResolve() {
      loadedOverTheWire = true;
      return this;
    }
  }
}
