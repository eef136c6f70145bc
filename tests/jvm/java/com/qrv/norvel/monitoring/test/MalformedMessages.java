package com.qrv.norvel.monitoring.test;

import static com.qrv.norvel.monitoring.test.Tree.get;
import static com.qrv.norvel.monitoring.test.Tree.map;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.Random;
import java.util.TreeMap;

/**
 * Messages as no good application sends them, from a seed. What ends the agent on purpose never
 * comes (the wish to shut down, a critical exception), and a requester handle is 0 or that of a
 * request in progress: it is an address, which the native side trusts.
 */
final class MalformedMessages {
  private static final int REPLY = 1;
  private static final int NOTIFICATION = 2;
  private static final int EXCEPTION = 3;
  private static final int SAMPLE_EMIT = 13;
  private static final int SHUTDOWN_REQUESTED = 16;
  private static final int MOST_LEVELS = 200;
  private static final int LONG_TEXT = 1 << 20;

  private final Random random;

  MalformedMessages(long seed) {
    random = new Random(seed);
  }

  /** A message of the application's own, or an answer to the request that is in progress. */
  Object next(Object request) {
    if (oneIn(10)) {
      return odd();
    }
    if (oneIn(3)) {
      return envelope(oneIn(3) ? EXCEPTION : REPLY, (Integer) get(request, 1), get(request, 4));
    }
    int[] types = {NOTIFICATION, NOTIFICATION, REPLY, EXCEPTION, 0};
    return envelope(types[random.nextInt(5)], random.nextInt(20), 0L);
  }

  private Object envelope(int likelyType, int likelyCode, Object handle) {
    int type = oneIn(15) ? random.nextInt(9) - 3 : likelyType;
    int code = oneIn(15) ? random.nextInt() : likelyCode;
    if (code == SHUTDOWN_REQUESTED) {
      code++;
    }
    HashMap<Object, Object> envelope = new HashMap<>();
    envelope.put(0, oneIn(20) ? odd() : type);
    envelope.put(1, oneIn(20) ? text() : code);
    envelope.put(3, oneIn(5) ? withoutSeverityOne(odd()) : body(type, code));
    envelope.put(4, oneIn(20) ? text() : handle);
    while (oneIn(6)) {
      envelope.remove(random.nextInt(5));
    }
    if (oneIn(20)) {
      envelope.put(oneIn(2) ? "key" : leaf(), text());
    }
    return envelope;
  }

  private Object body(int type, int code) {
    HashMap<Object, Object> body = new HashMap<>();
    for (int key = 0; key < 4; key++) {
      if (!oneIn(8)) {
        body.put(key, oneIn(8) ? odd() : text());
      }
    }
    if (code == SAMPLE_EMIT) {
      body.put(0, "EVENTS");
      body.put(1, rows());
    }
    if (type == EXCEPTION && !oneIn(4)) {
      body.put(0, 3);
    }
    return withoutSeverityOne(body);
  }

  private static Object withoutSeverityOne(Object body) {
    if (body instanceof HashMap<?, ?> map && Integer.valueOf(1).equals(map.get(0))) {
      return map(0, 3);
    }
    return body;
  }

  private Object rows() {
    ArrayList<Object> rows = new ArrayList<>();
    for (int i = random.nextInt(6); i > 0; i--) {
      rows.add(oneIn(8) ? odd() : new byte[oneIn(3) ? random.nextInt(40) : 12]);
    }
    return rows;
  }

  private Object odd() {
    if (oneIn(20)) {
      return tree(random.nextInt(MOST_LEVELS) + 1);
    }
    return oneIn(3) ? tree(random.nextInt(5)) : leaf();
  }

  /** One branch goes all the way down, the others end at once. */
  private Object tree(int levels) {
    Object value = leaf();
    for (int level = 0; level < levels; level++) {
      if (oneIn(2)) {
        value = new ArrayList<>(Arrays.asList(value, oneIn(16) ? leaf() : 1));
      } else {
        HashMap<Object, Object> map = map(level, value);
        if (oneIn(16)) {
          map.put(leaf(), leaf());
        }
        value = map;
      }
    }
    return value;
  }

  private Object leaf() {
    return switch (random.nextInt(16)) {
      case 0 -> null;
      case 1 -> random.nextLong();
      case 2 -> random.nextBoolean();
      case 3 -> new byte[random.nextInt(64)];
      case 4 -> new ArrayList<>();
      case 5 -> new HashMap<>();
      case 6 -> random.nextDouble();
      case 7 -> new Object();
      case 8 -> new TreeMap<>(Collections.singletonMap(1, 1));
      case 9 -> new LinkedHashMap<>(Collections.singletonMap(1, 1));
      case 10 -> new int[] {1, 2};
      case 11 -> new Object[] {null};
      case 12 -> random.nextInt();
      default -> text();
    };
  }

  private String text() {
    int length = oneIn(2000) ? LONG_TEXT : random.nextInt(20);
    char[] characters = {'a', '%', 's', '\0', '\uD800', '\uDC00', '\u20AC'};
    StringBuilder text = new StringBuilder(length);
    for (int i = 0; i < length; i++) {
      text.append(characters[random.nextInt(characters.length)]);
    }
    return text.toString();
  }

  private boolean oneIn(int count) {
    return random.nextInt(count) == 0;
  }
}
