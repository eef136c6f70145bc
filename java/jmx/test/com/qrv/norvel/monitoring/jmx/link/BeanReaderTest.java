package com.qrv.norvel.monitoring.jmx.link;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.ManualClock;
import com.qrv.norvel.monitoring.jmx.RecordingLog;
import com.qrv.norvel.monitoring.jmx.table.BeanReads;
import com.qrv.norvel.monitoring.jmx.table.Rhythm;
import com.qrv.norvel.monitoring.jmx.table.Unavailable;
import java.io.InvalidClassException;
import java.lang.reflect.Proxy;
import java.net.SocketException;
import java.rmi.ConnectIOException;
import java.rmi.UnmarshalException;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;
import javax.management.Attribute;
import javax.management.AttributeList;
import javax.management.InstanceNotFoundException;
import javax.management.MBeanServerConnection;
import javax.management.ObjectName;
import org.junit.jupiter.api.Test;

/** Against a connection that answers as no sound JVM does. */
final class BeanReaderTest {
  private static final BeanReads READS =
      new BeanReads(
          "a:type=Pool,name=*",
          new String[] {"Name", "Used"},
          new Rhythm[] {Rhythm.SELDOM, Rhythm.EACH_SAMPLE},
          null);
  private static final long CALL_MILLIS = 2000;
  private static final Object[] GOOD = {"n", 5L};

  /** Answers for one bean: the values of the attributes, or an exception that it throws. */
  private interface Bean {
    Object attribute(String name) throws Exception;
  }

  private final RecordingLog log = new RecordingLog();
  private final ManualClock clock = new ManualClock();
  private final Set<Object> names = new LinkedHashSet<>();
  private final Set<Object> odd = new HashSet<>();
  private Bean bean = name -> name.equals("Name") ? "n" : 5L;
  private Exception searchFailure;
  private int calls;
  private final BeanReader reader =
      new BeanReader(
          "t", connection(), new LinkTimes((int) CALL_MILLIS, 10_000, clock), log);

  private MBeanServerConnection connection() {
    return (MBeanServerConnection)
        Proxy.newProxyInstance(
            BeanReaderTest.class.getClassLoader(),
            new Class<?>[] {MBeanServerConnection.class},
            (proxy, method, arguments) -> {
              calls++;
              switch (method.getName()) {
                case "queryNames":
                  if (searchFailure != null) {
                    throw searchFailure;
                  }
                  return names;
                case "getAttributes":
                  return attributes(arguments[0], (String[]) arguments[1]);
                default:
                  return attribute(arguments[0], (String) arguments[1]);
              }
            });
  }

  private Object attribute(Object name, String attribute) throws Exception {
    if (!names.contains(name)) {
      throw new InstanceNotFoundException();
    }
    return odd.contains(name) ? bean.attribute(attribute) : attribute.equals("Name") ? "n" : 5L;
  }

  private AttributeList attributes(Object name, String[] attributes) throws Exception {
    AttributeList list = new AttributeList();
    for (String each : attributes) {
      list.add(new Attribute(each, attribute(name, each)));
    }
    return list;
  }

  private ObjectName add(String name) throws Exception {
    ObjectName added = new ObjectName("a:type=Pool,name=" + name);
    names.add(added);
    return added;
  }

  private void addOdd(String name) throws Exception {
    odd.add(add(name));
  }

  private static UnmarshalException refused() {
    return new UnmarshalException("x", new InvalidClassException("filter status: REJECTED"));
  }

  @Test
  void aBeanThatRefusesEverythingCostsItsRowOnlyAndIsAskedAgain() throws Exception {
    addOdd("1");
    add("2");
    bean = name -> {
      throw new SecurityException("no");
    };

    for (int i = 0; i < 3; i++) {
      assertThat(reader.read(READS)[1]).isEqualTo(GOOD);
    }
    assertThat(log.errors()).hasSize(2);

    bean = name -> name.equals("Name") ? "m" : 6L;
    clock.advance(KnownBean.MIN_PAUSE_MILLIS);
    assertThat(reader.read(READS)[0]).isEqualTo(new Object[] {"m", 6L});
  }

  @Test
  void aTableOfWhichNothingCanBeReadFails() throws Exception {
    addOdd("1");
    bean = name -> {
      throw new SecurityException("no");
    };

    for (int i = 0; i < 2; i++) {
      assertThatThrownBy(() -> reader.read(READS))
          .isInstanceOf(IllegalStateException.class)
          .hasMessageContaining("SecurityException: no");
    }
  }

  @Test
  void anAttributeThatSpoiltTheBulkAnswerIsReadByItselfFromThenOn() throws Exception {
    addOdd("1");
    bean = name -> {
      if (name.equals("Name")) {
        throw refused();
      }
      return 5L;
    };
    reader.read(READS);
    calls = 0;

    assertThat(reader.read(READS)[0][1]).isEqualTo(5L);
    assertThat(calls).isEqualTo(1);
    clock.advance(KnownBean.MIN_PAUSE_MILLIS);
    calls = 0;
    assertThat(reader.read(READS)[0][1]).isEqualTo(5L);
    assertThat(calls).isEqualTo(2);
  }

  @Test
  void thePausesOfAnAttributeThatStaysBrokenGrowToABound() throws Exception {
    addOdd("1");
    int[] tries = new int[1];
    bean = name -> {
      if (name.equals("Name")) {
        tries[0]++;
        throw new IllegalStateException("on purpose");
      }
      return 5L;
    };
    reader.read(READS);
    tries[0] = 0;

    for (int second = 0; second < 600; second++) {
      clock.advance(1000);
      reader.read(READS);
    }

    assertThat(tries[0]).isBetween(20, 30);
    assertThat(log.errors()).hasSize(1);
  }

  @Test
  void ofThousandsOfOddBeansAFewAreLookedIntoForEachSample() throws Exception {
    for (int i = 0; i < 1000; i++) {
      addOdd(Integer.toString(i));
    }
    add("good");
    bean = name -> {
      throw refused();
    };

    Object[][] rows = reader.read(READS);

    assertThat(rows).hasSize(1001);
    assertThat(rows[1000]).isEqualTo(GOOD);
    assertThat(calls).isLessThanOrEqualTo(1 + 1001 + BeanReader.MAX_ALONE);
    calls = 0;
    reader.read(READS);
    assertThat(calls).isLessThanOrEqualTo(1 + BeanReader.MAX_ALONE);
  }

  @Test
  void namesThatChangeAtEachLookCostThemselves() throws Exception {
    ObjectName stays = add("stays");
    for (int look = 0; look < 20; look++) {
      names.clear();
      names.add(stays);
      for (int i = 0; i < 300; i++) {
        add(look + "-" + i);
      }
      Object[][] rows = reader.read(READS);
      assertThat(rows[rows.length - 1]).isEqualTo(GOOD);
    }
    assertThat(log.errors()).isEmpty();
  }

  @Test
  void whatIsNoFittingNameIsNoBean() throws Exception {
    names.add("text");
    names.add(new ObjectName("a:type=Pool,name=*"));
    names.add(new ObjectName("b:type=Other,name=1"));
    add("1");

    assertThat(reader.read(READS)).isEqualTo(new Object[][] {GOOD});
  }

  @Test
  void namesThatCanNotBeReadLeaveThoseThatAreKnown() throws Exception {
    add("1");
    reader.read(READS);
    searchFailure = refused();
    clock.advance(60_000);

    assertThat(reader.read(READS)).isEqualTo(new Object[][] {GOOD});
    assertThat(log.errors()).hasSize(1);
  }

  @Test
  void moreBeansThanTheLimitAreReportedAndNotRead() throws Exception {
    for (int i = 0; i < BeanReader.MAX_BEANS + 7; i++) {
      add(Integer.toString(i));
    }

    assertThat(reader.read(READS)).hasSize(BeanReader.MAX_BEANS);
    assertThat(log.errors()).hasSize(1);
    assertThat(log.errors().get(0)).contains("5000 of 5007 MBeans");
  }

  @Test
  void whenTheTimeIsOverTheRowsThatWereReadStay() throws Exception {
    List<ObjectName> slow = new ArrayList<>();
    for (int i = 0; i < 100; i++) {
      slow.add(add(Integer.toString(i)));
    }
    odd.addAll(slow);
    bean = name -> {
      clock.advance(10);
      return name.equals("Name") ? "n" : 5L;
    };

    Object[][] rows = reader.read(READS);

    assertThat(rows).hasSize(50).contains(GOOD);
    assertThat(log.errors()).hasSize(1);
    assertThat(log.errors().get(0)).contains("50 of 100 MBeans");
  }

  @Test
  void withoutADescriptorForAnotherConnectionTheCellIsSpared() throws Exception {
    addOdd("1");
    bean = name -> {
      if (!name.equals("Name")) {
        return 5L;
      }
      boolean isAlone = calls > 2;
      throw isAlone
          ? new ConnectIOException("x", new SocketException("Too many open files"))
          : refused();
    };

    Object[] row = reader.read(READS)[0];

    assertThat(row[0]).isInstanceOf(Unavailable.class);
    assertThat(row[1]).isEqualTo(5L);
  }

  @Test
  void aListWithOtherThingsInItGivesItsAttributes() throws Exception {
    BeanReader odd =
        new BeanReader(
            "t",
            (MBeanServerConnection)
                Proxy.newProxyInstance(
                    BeanReaderTest.class.getClassLoader(),
                    new Class<?>[] {MBeanServerConnection.class},
                    (proxy, method, arguments) -> {
                      if (method.getName().equals("queryNames")) {
                        return Set.of(new ObjectName("a:type=Pool,name=1"));
                      }
                      AttributeList list = new AttributeList();
                      list.add("text");
                      list.add(new Attribute("Used", 5L));
                      list.add(new Attribute("Name", List.of(1)));
                      return list;
                    }),
            new LinkTimes((int) CALL_MILLIS, 10_000, clock),
            log);

    Object[] row = odd.read(READS)[0];

    assertThat(((Unavailable) row[0]).reason()).contains("List");
    assertThat(row[1]).isEqualTo(5L);
  }
}
