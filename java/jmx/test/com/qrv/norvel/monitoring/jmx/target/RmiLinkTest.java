package com.qrv.norvel.monitoring.jmx.target;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.Clock;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.net.RmiSetup;
import com.qrv.norvel.monitoring.jmx.table.BeanTable;
import com.qrv.norvel.monitoring.jmx.table.SelfBeans;
import com.qrv.norvel.monitoring.jmx.table.StandardTables;
import com.qrv.norvel.monitoring.jmx.table.Unavailable;
import java.io.IOException;
import java.io.Serializable;
import java.lang.management.ManagementFactory;
import java.util.List;
import javax.management.MBeanServer;
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
  private final RecordingLog log = new RecordingLog();
  private JMXConnectorServer connectorServer;
  private JMXConnector connector;
  private RmiLink link;

  @BeforeEach
  void connect() throws Exception {
    RmiSetup.once(CALL_MILLIS);
    server.registerMBean(new Sample(), new ObjectName(SAMPLE));
    connectorServer =
        JMXConnectorServerFactory.newJMXConnectorServer(
            new JMXServiceURL("service:jmx:rmi://"), null, server);
    connectorServer.start();
    connector = JMXConnectorFactory.connect(connectorServer.getAddress());
    link = linkWithin(60_000);
  }

  @AfterEach
  void disconnect() throws Exception {
    server.unregisterMBean(new ObjectName(SAMPLE));
    connector.close();
    connectorServer.stop();
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
  void aSampleThatTakesTooLongIsRefusedAndTheConnectionStays() throws Exception {
    RmiLink hasty = linkWithin(0);

    assertThatThrownBy(() -> hasty.read(SAMPLE, new String[] {"Good"}))
        .isInstanceOf(IllegalStateException.class)
        .hasMessageContaining("test:type=Sample takes more than 0 ms");

    hasty.ping();
  }

  private RmiLink linkWithin(long budgetMillis) throws IOException {
    TimeBudget budget = new TimeBudget(Clock.SYSTEM, budgetMillis);
    return new RmiLink("t", connector, connector.getMBeanServerConnection(), budget, log);
  }

  private Object[][] read(String... attributes) throws IOException {
    return link.read(SAMPLE, attributes);
  }

  /** The interface of {@link Sample}. */
  public interface SampleMBean {
    int getGood();

    int getBroken();

    String getNothing();

    Object getForeign();
  }

  /** A bean with good and bad attributes. */
  public static final class Sample implements SampleMBean {
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
