package com.qrv.norvel.monitoring.jmx.action;

import com.qrv.norvel.monitoring.jmx.link.Link;
import com.qrv.norvel.monitoring.jmx.monitored.TargetWork;
import java.math.BigDecimal;
import java.util.List;
import javax.management.InstanceNotFoundException;
import javax.management.ObjectName;

/** Lists the classes that fill a target's heap. */
final class HeapHistogram implements TargetAction {
  private static final int DEFAULT_LINES = 20;
  private static final int MAX_LINES = 60;
  private static final int HEADER_LINES = 2;
  static final String WORD = "heap-histogram";

  private static final String BEAN = "com.sun.management:type=DiagnosticCommand";

  private static final Argument LINES =
      new Argument(
          "lines", ArgumentType.INT, List.of(), BigDecimal.ONE, BigDecimal.valueOf(MAX_LINES));

  @Override
  public String word() {
    return WORD;
  }

  @Override
  public String usage() {
    return WORD + " [LINES]";
  }

  @Override
  public String description() {
    return "lists the classes with the most bytes in the heap; collects garbage first";
  }

  @Override
  public TargetWork<String> work(List<String> arguments) {
    if (arguments.size() > 1) {
      throw new IllegalArgumentException("it takes at most 1 argument, not " + arguments.size());
    }
    int lines = DEFAULT_LINES;
    if (!arguments.isEmpty()) {
      try {
        lines = (Integer) LINES.valueOf(arguments.get(0));
      } catch (IllegalArgumentException e) {
        throw new IllegalArgumentException("argument 1, lines: " + e.getMessage(), e);
      }
    }
    int wanted = HEADER_LINES + lines;
    return link -> histogram(link, wanted);
  }

  private static String histogram(Link link, int lines) throws Exception {
    Object all;
    try {
      all =
          link.server()
              .invoke(
                  new ObjectName(BEAN),
                  "gcClassHistogram",
                  new Object[] {new String[0]},
                  new String[] {String[].class.getName()});
    } catch (InstanceNotFoundException e) {
      throw new UnsupportedOperationException("this JVM does not offer a histogram", e);
    }
    StringBuilder first = new StringBuilder();
    if (!(all instanceof String)) {
      throw new UnsupportedOperationException("this JVM's histogram is no text");
    }
    String[] split = ((String) all).split("\n", lines + 2);
    for (int i = 0, taken = 0; i < split.length && taken < lines; i++) {
      if (!split[i].isBlank()) {
        first.append(taken == 0 ? "" : "\n").append(split[i]);
        taken++;
      }
    }
    return ResultText.of(first.toString());
  }
}
