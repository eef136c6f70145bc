package com.qrv.norvel.monitoring.toolkit.bench;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;

/**
 * Answers sample requests with rows made before. The table's name says which: {@code 100x64} is a
 * hundred rows of 64 bytes. Called by one thread at a time.
 */
public final class Answers {
  // Keys of an envelope, and what stands there.
  private static final Integer TYPE = 0;
  private static final Integer ID = 1;
  private static final Integer BODY = 3;
  private static final Integer REQUESTER = 4;
  private static final Integer REPLY = 1;
  private static final Integer TAKE_SAMPLE = 2;
  // Keys of the bodies.
  private static final Integer TABLE = 0;
  private static final Integer ROWS = 4;
  private static final Integer CACHE_SECONDS = 10;

  private static final HashMap<Object, ArrayList<byte[]>> PREPARED = new HashMap<>();

  private Answers() {}

  /** Whether the message is a request; others go one way. */
  public static boolean isExpected(Object message) {
    return ((HashMap<?, ?>) message).get(REQUESTER) != null;
  }

  /** The envelope of the reply. */
  public static HashMap<Integer, Object> to(Object message) {
    HashMap<?, ?> request = (HashMap<?, ?>) message;
    HashMap<Integer, Object> body = new HashMap<>();
    body.put(ROWS, rows(((HashMap<?, ?>) request.get(BODY)).get(TABLE)));
    body.put(CACHE_SECONDS, 0);
    HashMap<Integer, Object> reply = new HashMap<>();
    reply.put(TYPE, REPLY);
    reply.put(ID, TAKE_SAMPLE);
    reply.put(BODY, body);
    reply.put(REQUESTER, request.get(REQUESTER));
    return reply;
  }

  private static ArrayList<byte[]> rows(Object table) {
    ArrayList<byte[]> known = PREPARED.get(table);
    if (known == null) {
      known = prepare((String) table);
      PREPARED.put(table, known);
    }
    return known;
  }

  private static ArrayList<byte[]> prepare(String table) {
    int times = table.indexOf('x');
    int count = Integer.parseInt(table.substring(0, times));
    int size = Integer.parseInt(table.substring(times + 1));
    ArrayList<byte[]> rows = new ArrayList<>(count);
    for (int i = 0; i < count; i++) {
      byte[] row = new byte[size];
      Arrays.fill(row, (byte) ('a' + i % 26));
      rows.add(row);
    }
    return rows;
  }
}
