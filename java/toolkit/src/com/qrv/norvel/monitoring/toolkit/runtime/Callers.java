package com.qrv.norvel.monitoring.toolkit.runtime;

import java.util.Iterator;
import java.util.function.Function;
import java.util.stream.Stream;

/** Finds out which operation is logging. */
final class Callers {
  private static final StackWalker WALKER = StackWalker.getInstance();

  private Callers() {}

  /** The operation of a class, or of one nested in it, that the current thread is in; or "". */
  static String functionIn(String className) {
    return WALKER.walk(new Finder(className));
  }

  private static final class Finder implements Function<Stream<StackWalker.StackFrame>, String> {
    private final String className;

    Finder(String className) {
      this.className = className;
    }

    @Override
    public String apply(Stream<StackWalker.StackFrame> frames) {
      Iterator<StackWalker.StackFrame> all = frames.iterator();
      while (all.hasNext()) {
        StackWalker.StackFrame frame = all.next();
        if (isIn(frame.getClassName())) {
          return frame.getMethodName();
        }
      }
      return "";
    }

    private boolean isIn(String other) {
      return other.startsWith(className)
          && (other.length() == className.length() || other.charAt(className.length()) == '$');
    }
  }
}
