package com.qrv.norvel.monitoring.jmx.target;

import java.io.InvalidClassException;
import java.rmi.UnmarshalException;

/** Values of classes that are unknown here, or not accepted. */
final class ForeignClass {
  private ForeignClass() {}

  /** Whether an answer could not be read because of such a value; the connection is sound then. */
  static boolean isCauseOf(Throwable failure) {
    Throwable cause = failure.getCause();
    return failure instanceof UnmarshalException
        && (cause instanceof InvalidClassException || cause instanceof ClassNotFoundException);
  }
}
