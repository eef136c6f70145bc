package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Application;
import com.qrv.norvel.monitoring.toolkit.bridge.Dispatcher;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.Executor;
import java.util.concurrent.TimeUnit;

/** Plays the native side against a whole toolkit: sends its messages and keeps the answers. */
final class NativeSide {
  final RecordingTransport transport = new RecordingTransport();
  final RecordingSink trace = new RecordingSink();
  final ManualClock clock = new ManualClock();
  final FakeNatives natives = new FakeNatives();
  private final Dispatcher dispatcher;
  private long nextHandle = 0x7f00_0000_1000L;

  private NativeSide(ApplicationSource source, Executor executor) {
    dispatcher =
        Toolkit.assemble(
            transport,
            trace,
            clock,
            executor == null ? threads(clock, trace) : executor,
            executor == null ? threads(clock, trace) : executor,
            natives,
            source);
  }

  /** With the clock of the machine. */
  private NativeSide(Application application) {
    Clock real = new SystemClock();
    dispatcher =
        Toolkit.assemble(
            transport,
            trace,
            real,
            threads(real, trace),
            threads(real, trace),
            natives,
            () -> application);
  }

  /** With the toolkit's own threads and the clock of the machine. */
  static NativeSide inRealTime(Application application) {
    return new NativeSide(application);
  }

  /** With the toolkit's own threads. */
  static NativeSide of(Application application) {
    return new NativeSide(() -> application, null);
  }

  /** With the application's code on the calling thread. */
  static NativeSide inline(Application application) {
    return new NativeSide(() -> application, Runnable::run);
  }

  static NativeSide of(ApplicationSource source, Executor executor) {
    return new NativeSide(source, executor);
  }

  /** An application that declares its tables and does nothing else. */
  static Application declaring(Declaration declaration) {
    return declaration::declare;
  }

  interface Declaration {
    void declare(Agent agent) throws Exception;
  }

  static WorkerThreads threads(Clock clock, TraceSink trace) {
    return new WorkerThreads(
        "test", 8, clock, new TraceLog(trace, "TEST", WorkerThreads.class));
  }

  void deliver(Object message) {
    dispatcher.processInbound(message);
  }

  void oneWay(int code, HashMap<Integer, Object> body) {
    deliver(message(2, code, body, null));
  }

  /** Sends a request on this thread and returns its one answer. */
  HashMap<Integer, Object> request(int code, HashMap<Integer, Object> body) {
    long handle;
    synchronized (this) {
      handle = nextHandle++;
    }
    deliver(message(0, code, body, handle));
    List<HashMap<Integer, Object>> answers = transport.answersTo(handle);
    if (answers.size() != 1) {
      throw new AssertionError(answers.size() + " answers: " + answers);
    }
    if (transport.senderOf(answers.get(0)) != Thread.currentThread()) {
      throw new AssertionError("answered on " + transport.senderOf(answers.get(0)));
    }
    return answers.get(0);
  }

  /** Sends a request on another thread. */
  CompletableFuture<HashMap<Integer, Object>> later(int code, HashMap<Integer, Object> body) {
    CompletableFuture<HashMap<Integer, Object>> answer = new CompletableFuture<>();
    Thread thread =
        new Thread(
            () -> {
              try {
                answer.complete(request(code, body));
              } catch (Throwable failure) {
                answer.completeExceptionally(failure);
              }
            });
    thread.setDaemon(true);
    thread.start();
    return answer;
  }

  HashMap<Integer, Object> init() {
    return request(0, initBody());
  }

  void start() {
    oneWay(1, null);
  }

  HashMap<Integer, Object> sample(String table, String... subnodes) {
    return request(2, sampleBody(table, subnodes));
  }

  static HashMap<Integer, Object> initBody() {
    HashMap<Integer, Object> body = new HashMap<>();
    body.put(0, "ZJX");
    body.put(3, "one");
    body.put(5, "earth");
    body.put(2, false);
    return body;
  }

  static HashMap<Integer, Object> sampleBody(String table, String... subnodes) {
    HashMap<Integer, Object> body = new HashMap<>();
    body.put(0, table);
    body.put(1, new ArrayList<>());
    body.put(5, new ArrayList<>(Arrays.asList(subnodes)));
    body.put(6, false);
    body.put(7, false);
    body.put(8, "");
    return body;
  }

  static HashMap<Integer, Object> message(
      int type, int code, HashMap<Integer, Object> body, Long handle) {
    HashMap<Integer, Object> message = new HashMap<>();
    message.put(0, type);
    message.put(1, code);
    if (body != null) {
      message.put(3, body);
    }
    if (handle != null) {
      message.put(4, handle);
    }
    return message;
  }

  static HashMap<?, ?> body(HashMap<Integer, Object> answer) {
    return (HashMap<?, ?>) answer.get(3);
  }

  static List<byte[]> rows(HashMap<Integer, Object> answer) {
    if (!answer.get(0).equals(1)) {
      throw new AssertionError("no reply: " + answer);
    }
    List<byte[]> rows = new ArrayList<>();
    for (Object row : (ArrayList<?>) body(answer).get(4)) {
      rows.add((byte[]) row);
    }
    return rows;
  }

  static <T> T soon(CompletableFuture<T> future) throws Exception {
    return future.get(30, TimeUnit.SECONDS);
  }
}
