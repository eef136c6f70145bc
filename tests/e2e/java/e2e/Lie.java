package e2e;

import com.qrv.norvel.monitoring.toolkit.bridge.Keys;
import com.qrv.norvel.monitoring.toolkit.bridge.MessageType;
import com.qrv.norvel.monitoring.toolkit.bridge.NotificationCode;
import com.qrv.norvel.monitoring.toolkit.bridge.RequestCode;
import com.qrv.norvel.monitoring.toolkit.bridge.Transport;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.HashMap;
import java.util.List;
import java.util.concurrent.locks.LockSupport;

/**
 * What an answer to a sample is turned into, on its way to the native side. The table that the
 * sample was taken of names the lie. What the native side trusts, the requester handle, is left
 * alone: an answer goes to the request in progress or to nobody.
 */
public enum Lie {
  TOO_SHORT {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      resize(answer, 0, -1);
      resize(answer, 1, -1);
      to.send(answer);
    }
  },
  TOO_LONG {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      resize(answer, 0, 1);
      resize(answer, 1, 1000);
      to.send(answer);
    }
  },
  NO_BYTES {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      rows(answer).replaceAll(row -> new byte[0]);
      to.send(answer);
    }
  },
  HUGE {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      rows(answer).set(0, new byte[8 << 20]);
      to.send(answer);
    }
  },
  /** The second of three rows is one byte short. */
  ONE_BAD_ROW {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      rows(answer).add(1, new byte[11]);
      to.send(answer);
    }
  },
  /** A row of a subnode that nobody asked for and nobody knows. */
  FOREIGN {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      Arrays.fill((byte[]) rows(answer).get(0), 0, 32, (byte) 'x');
      to.send(answer);
    }
  },
  ROWS_ARE_MISSING {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      body(answer).remove(Keys.SampleReply.ROWS);
      to.send(answer);
    }
  },
  ROWS_ARE_ONE_ARRAY {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      body(answer).put(Keys.SampleReply.ROWS, new byte[24]);
      to.send(answer);
    }
  },
  ROWS_ARE_A_NUMBER {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      body(answer).put(Keys.SampleReply.ROWS, Integer.MAX_VALUE);
      to.send(answer);
    }
  },
  ROWS_ARE_NUMBERS {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      rows(answer).replaceAll(row -> 7);
      to.send(answer);
    }
  },
  A_ROW_IS_NULL {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      rows(answer).set(1, null);
      to.send(answer);
    }
  },
  /** A list that has fewer rows than it says. */
  FEWER_ROWS_THAN_COUNTED {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      body(answer).put(Keys.SampleReply.ROWS, new BoastfulList(rows(answer)));
      to.send(answer);
    }
  },
  CACHE_TIME_IS_NEGATIVE {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      body(answer).put(Keys.SampleReply.CACHE_SECONDS, Integer.MIN_VALUE);
      to.send(answer);
    }
  },
  CACHE_TIME_IS_TEXT {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      body(answer).put(Keys.SampleReply.CACHE_SECONDS, "long");
      to.send(answer);
    }
  },
  NULL {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      to.send(null);
    }
  },
  BODY_IS_NULL {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      answer.put(Keys.Envelope.BODY, null);
      to.send(answer);
    }
  },
  BODY_IS_MISSING {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      answer.remove(Keys.Envelope.BODY);
      to.send(answer);
    }
  },
  NO_ANSWER {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {}
  },
  /** The last answer holds; it has one row. */
  TWO_ANSWERS {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      to.send(answer);
      rows(answer).remove(1);
      to.send(answer);
    }
  },
  MANY_ANSWERS {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      for (int i = 0; i < 1000; i++) {
        to.send(answer);
      }
    }
  },
  /** As for a request that is closed, as far as the native side can tell. */
  ANSWER_TO_NOBODY {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      answer.put(Keys.Envelope.HANDLE, 0L);
      to.send(answer);
    }
  },
  OF_UNKNOWN_TYPE {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      answer.put(Keys.Envelope.TYPE, 77);
      to.send(answer);
    }
  },
  OF_ANOTHER_REQUEST {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      answer.put(Keys.Envelope.ID, RequestCode.SHUTDOWN);
      to.send(answer);
    }
  },
  EXCEPTION_WITHOUT_TEXT {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      answer.put(Keys.Envelope.TYPE, MessageType.EXCEPTION);
      to.send(answer);
    }
  },
  /** Events, subnodes and unknown news as no good application tells them, then a good answer. */
  BAD_NEWS {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      for (Object rows : BAD_EVENTS) {
        for (String table : List.of("EVENTS", "WELL", "NOBODY", "")) {
          send(to, NotificationCode.EVENTS, table, rows);
        }
      }
      for (String name : List.of("", " ", "nobody", "x".repeat(33), "x".repeat(100_000), "\0")) {
        send(to, NotificationCode.SUBNODE_DEREGISTERED, name, null);
        send(to, NotificationCode.SUBNODE_REGISTERED, name, "affinity");
        send(to, 12345, name, name);
      }
      to.send(answer);
    }
  },
  /** The thread of the native side never comes back. */
  NEVER {
    @Override
    public void tell(HashMap<Integer, Object> answer, Transport to) {
      while (true) {
        LockSupport.park();
      }
    }
  };

  private static final List<Object> BAD_EVENTS =
      List.of(
          new ArrayList<>(Collections.singletonList(null)),
          new ArrayList<>(List.of(new byte[0], new byte[43], new byte[45], new byte[1 << 20])),
          new ArrayList<>(List.of(7, "row")),
          new byte[44],
          7);

  private static final String PREFIX = "LIE_";

  /** The lie that the answer to a request becomes, or null for the truth. */
  public static Lie of(Object request) {
    if (!(request instanceof HashMap<?, ?> envelope)
        || !Integer.valueOf(RequestCode.TAKE_SAMPLE).equals(envelope.get(Keys.Envelope.ID))) {
      return null;
    }
    String table = (String) ((HashMap<?, ?>) envelope.get(Keys.Envelope.BODY)).get(0);
    return table.startsWith(PREFIX) ? valueOf(table.substring(PREFIX.length())) : null;
  }

  /** Name of the table whose samples become this lie. */
  String table() {
    return PREFIX + name();
  }

  /** Sends what has become of an answer. */
  public abstract void tell(HashMap<Integer, Object> answer, Transport to);

  private static final class BoastfulList extends ArrayList<Object> {
    private static final long serialVersionUID = 1L;

    BoastfulList(List<Object> rows) {
      super(rows);
    }

    @Override
    public int size() {
      return super.size() + 5;
    }
  }

  @SuppressWarnings("unchecked")
  private static HashMap<Integer, Object> body(HashMap<Integer, Object> answer) {
    return (HashMap<Integer, Object>) answer.get(Keys.Envelope.BODY);
  }

  @SuppressWarnings("unchecked")
  private static List<Object> rows(HashMap<Integer, Object> answer) {
    return (List<Object>) body(answer).get(Keys.SampleReply.ROWS);
  }

  private static void resize(HashMap<Integer, Object> answer, int index, int by) {
    byte[] row = (byte[]) rows(answer).get(index);
    rows(answer).set(index, Arrays.copyOf(row, row.length + by));
  }

  private static void send(Transport to, int code, Object first, Object second) {
    HashMap<Integer, Object> body = new HashMap<>();
    body.put(0, first);
    body.put(1, second);
    HashMap<Integer, Object> envelope = new HashMap<>();
    envelope.put(Keys.Envelope.TYPE, MessageType.NOTIFICATION);
    envelope.put(Keys.Envelope.ID, code);
    envelope.put(Keys.Envelope.BODY, body);
    to.send(envelope);
  }
}
