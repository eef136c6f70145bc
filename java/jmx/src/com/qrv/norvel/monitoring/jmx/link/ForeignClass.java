package com.qrv.norvel.monitoring.jmx.link;

import com.qrv.norvel.monitoring.jmx.net.RefusedAnswerException;
import java.io.ObjectStreamException;
import java.rmi.UnmarshalException;

/** Values of classes that are unknown here or not accepted, and values that are too large. */
public final class ForeignClass {
  private ForeignClass() {}

  /** Whether an answer could not be read because of such a value; the connection is sound then. */
  public static boolean isCauseOf(Throwable failure) {
    Throwable cause = failure.getCause();
    return failure instanceof UnmarshalException
        && (cause instanceof ObjectStreamException
            || cause instanceof ClassNotFoundException
            || cause instanceof RefusedAnswerException);
  }

  /** Why it could not be read, for people. */
  static String reason(Throwable failure) {
    return failure.getCause() instanceof RefusedAnswerException
        ? failure.getCause().getMessage()
        : "its class is not accepted";
  }
}
