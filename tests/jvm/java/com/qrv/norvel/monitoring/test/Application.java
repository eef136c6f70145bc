package com.qrv.norvel.monitoring.test;

import static com.qrv.norvel.monitoring.test.Tree.get;
import static com.qrv.norvel.monitoring.test.Tree.list;
import static com.qrv.norvel.monitoring.test.Tree.map;

import com.qrv.norvel.monitoring.toolkit.workbench.ipc.msg.jni.JniServer;
import com.qrv.norvel.monitoring.toolkit.workbench.logging.handlers.RAS1Wrapper;
import com.qrv.norvel.monitoring.toolkit.workbench.osutils.DaemonWBProcess;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Collections;
import java.util.HashMap;

/** Answers the agent's requests, and does what the test's own request (code 100) says. */
public final class Application {
  private static final int TYPE_REPLY = 1;
  private static final int TYPE_NOTIFICATION = 2;
  private static final int TYPE_EXCEPTION = 3;
  private static final int ROW_SIZE = 12;

  private final JniServer server;
  private final ArrayList<Object> received = new ArrayList<>();

  public Application(JniServer server) {
    this.server = server;
  }

  /** Takes a message. What it throws leaves the server. */
  public void handle(Object message) {
    int code = (Integer) get(message, 1);
    synchronized (received) {
      received.add(code);
    }
    switch (code) {
      case 0 -> reply(message, initReply());
      case 2 -> reply(message, sample(get(message, 3)));
      case 4 -> reply(message, map());
      case 100 -> perform(message, get(message, 3));
      default -> {}
    }
  }

  private void perform(Object message, Object body) {
    String command = (String) get(body, 0);
    Object argument = get(body, 1);
    switch (command) {
      case "describe" -> reply(message, map(0, Tree.describe(argument)));
      case "echo" -> reply(message, map(0, argument));
      case "await" -> {
        await(Path.of((String) argument));
        reply(message, map(0, "awaited"));
      }
      case "received" -> reply(message, map(0, copyOfReceived()));
      case "exception" -> put(message, TYPE_EXCEPTION, map(0, argument, 1, "refused"));
      case "throw" -> throw new IllegalStateException("out of the server");
      case "error" -> throw new StackOverflowError("out of the server");
      case "exit" -> System.exit((Integer) argument);
      case "malformed" -> malformed(message, (String) argument);
      case "flood" -> flood(message, (Long) argument, (Integer) get(body, 2));
      case "notify" -> notifyFromAnotherThread(message, (Integer) argument, get(body, 2));
      case "trace" -> {
        RAS1Wrapper.rasTrace((Integer) argument, "app", "Test.java", "perform", "100 % of it");
        reply(message, map());
      }
      case "daemon" -> {
        runDaemon(argument);
        reply(message, map());
      }
      case "running" ->
          reply(message, map(0, DaemonWBProcess.isRunning((Long) argument)));
      default -> reply(message, map());
    }
  }

  /** Says that it waits, by a file with the suffix ".asked", and waits until the file is there. */
  private static void await(Path file) {
    try {
      Files.createFile(Path.of(file + ".asked"));
      while (!Files.exists(file)) {
        Thread.sleep(1);
      }
    } catch (IOException | InterruptedException e) {
      throw new IllegalStateException(e);
    }
  }

  private ArrayList<Object> copyOfReceived() {
    synchronized (received) {
      return new ArrayList<>(received);
    }
  }

  private void reply(Object message, Object body) {
    put(message, TYPE_REPLY, body);
  }

  private void put(Object message, int type, Object body) {
    server.doPutOutbound(map(0, type, 1, get(message, 1), 3, body, 4, get(message, 4)));
  }

  private void malformed(Object message, String kind) {
    Object odd =
        switch (kind) {
          case "null" -> null;
          case "type" -> map(0, 1.5);
          case "element" -> map(0, new ArrayList<Object>(Collections.singletonList(null)));
          case "key" -> map("key", 1);
          default -> throw new IllegalArgumentException(kind);
        };
    server.doPutOutbound(odd);
    reply(message, map());
  }

  /** Sends malformed messages, and last a good reply. */
  private void flood(Object message, long seed, int count) {
    MalformedMessages messages = new MalformedMessages(seed);
    for (int i = 0; i < count; i++) {
      server.doPutOutbound(messages.next(message));
    }
    reply(message, map(0, count));
  }

  private void notifyFromAnotherThread(Object message, int code, Object body) {
    Thread sender =
        new Thread(
            () -> server.doPutOutbound(map(0, TYPE_NOTIFICATION, 1, code, 3, body)), "notifier");
    sender.start();
    try {
      sender.join();
    } catch (InterruptedException e) {
      throw new IllegalStateException(e);
    }
    reply(message, map());
  }

  private static void runDaemon(Object arguments) {
    HashMap<String, String> environment = new HashMap<>();
    environment.put("ZEL_JVM_TEST", "from Java");
    environment.put("ZEL_GONE", null);
    DaemonWBProcess.runDaemon(
        (String) get(arguments, 0), environment, null, (String) get(arguments, 1), null);
  }

  private static Object initReply() {
    return map(
        1, "text", 4, "versionAffinity", 5, "javahost", 6, "affinity",
        8, list(table("SAMPLES"), table("EVENTS")));
  }

  private static Object table(String name) {
    return map(7, name, 9, list(column("NUMBER", 1, 4, 0), column("TEXT", 9, 8, 4)), 15, false);
  }

  private static Object column(String name, int type, int size, int offset) {
    return map(10, name, 11, type, 12, size, 13, offset);
  }

  /** Two rows, numbered from 1. */
  private static Object sample(Object body) {
    ArrayList<Object> rows = new ArrayList<>();
    for (int number = 1; number <= 2; number++) {
      ByteBuffer row = ByteBuffer.allocate(ROW_SIZE).order(ByteOrder.nativeOrder());
      row.putInt(number);
      row.put(String.format("%-8s", get(body, 0)).getBytes(StandardCharsets.US_ASCII), 0, 8);
      rows.add(row.array());
    }
    return map(4, rows, 10, 0);
  }
}
