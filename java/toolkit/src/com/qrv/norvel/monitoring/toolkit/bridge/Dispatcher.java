package com.qrv.norvel.monitoring.toolkit.bridge;

import com.qrv.norvel.monitoring.toolkit.agent.AgentLog;
import java.util.HashMap;

/**
 * Takes the messages of the native side and answers them.
 *
 * <p>Each request gets exactly one answer, sent by the thread that brought it before {@link
 * #processInbound} returns. The handle in a request is an address that the native side trusts: a
 * second answer, or one that comes later, would write to memory that is somebody else's by then.
 * Nothing is thrown, since an exception that left {@code processInbound} would end the process.
 */
public final class Dispatcher {
  /** The id in an answer to a message whose own id can't be read. */
  private static final int UNKNOWN_ID = -1;

  private final Transport transport;
  private final RequestHandler handler;
  private final AgentLog log;

  public Dispatcher(Transport transport, RequestHandler handler, AgentLog log) {
    this.transport = transport;
    this.handler = handler;
    this.log = log;
  }

  /** Serves one message, whatever it is, on the calling thread. */
  public void processInbound(Object message) {
    try {
      dispatch(message);
    } catch (Throwable failure) {
      report("a message of the agent could not be served", failure);
    }
  }

  private void dispatch(Object message) throws MalformedMessageException {
    Fields envelope = Fields.of("message", message);
    Object type = envelope.value(Keys.Envelope.TYPE);
    if (isInt(type, MessageType.NOTIFICATION)) {
      serveOneWay(envelope);
    } else if (isInt(type, MessageType.REPLY) || isInt(type, MessageType.EXCEPTION)) {
      log.warning("dropped an answer that nobody asked for");
    } else {
      // Anything else that names a requester is answered, since somebody waits there.
      Long handle = envelope.handle(Keys.Envelope.HANDLE);
      transport.send(answerTo(envelope, type, handle));
    }
  }

  private void serveOneWay(Fields envelope) throws MalformedMessageException {
    int code = envelope.integer(Keys.Envelope.ID);
    try {
      handler.handle(code, envelope.value(Keys.Envelope.BODY));
    } catch (Throwable failure) {
      report("message " + code + " failed", failure);
    }
  }

  private HashMap<Integer, Object> answerTo(Fields envelope, Object type, Long handle) {
    int code = UNKNOWN_ID;
    try {
      code = envelope.integer(Keys.Envelope.ID);
      if (!isInt(type, MessageType.REQUEST)) {
        throw new MalformedMessageException("message " + code + ": unknown type " + type);
      }
      HashMap<Integer, Object> body = handler.handle(code, envelope.value(Keys.Envelope.BODY));
      return Envelope.reply(code, handle, body);
    } catch (RequestFailedException failure) {
      return Envelope.exception(code, handle, failure.severity(), failure.getMessage());
    } catch (Throwable failure) {
      report("request " + code + " failed", failure);
      String text = "request " + code + " failed: " + Failures.describe(failure);
      return Envelope.exception(code, handle, Envelope.SEVERITY_ORDINARY, text);
    }
  }

  private static boolean isInt(Object value, int expected) {
    return value instanceof Integer && ((Integer) value).intValue() == expected;
  }

  private void report(String what, Throwable failure) {
    try {
      if (failure instanceof RequestFailedException) {
        log.error(what + ": " + failure.getMessage());
      } else {
        log.error(what, failure);
      }
    } catch (Throwable second) {
      // Out of memory, most likely. Whoever waits for an answer finds none and reports that.
      return;
    }
  }
}
