package com.qrv.norvel.monitoring.fault;

import java.util.ArrayList;
import java.util.List;

/**
 * The command line.
 *
 * @param port of the JMX server, 0 for any free one, or {@link #NO_PORT}
 * @param settings in the order in which they were given
 * @param help whether only the usage is asked for
 */
record Options(int port, List<Setting> settings, boolean help) {
  static final int NO_PORT = -1;
  private static final int MAX_PORT = 65_535;

  /** @throws UsageException when an argument can't be understood */
  static Options parse(List<String> arguments) throws UsageException {
    int port = NO_PORT;
    List<Setting> settings = new ArrayList<>();
    for (int i = 0; i < arguments.size(); i++) {
      String argument = arguments.get(i);
      if (argument.equals("--help") || argument.equals("-h")) {
        return new Options(port, settings, true);
      } else if (argument.equals("--port")) {
        if (i + 1 == arguments.size()) {
          throw new UsageException("--port needs a number from 0 to " + MAX_PORT);
        }
        i++;
        port = port(arguments.get(i));
      } else if (argument.startsWith("--port=")) {
        port = port(argument.substring("--port=".length()));
      } else if (argument.startsWith("-")) {
        throw new UsageException("there is no option '" + argument + "'; see --help");
      } else {
        settings.add(Setting.parse(argument));
      }
    }
    Options options = new Options(port, List.copyOf(settings), false);
    if (port == NO_PORT && options.value(Mode.DROP) != Setting.OFF) {
      throw new UsageException("drop closes connections to the JMX port: give --port, too");
    }
    return options;
  }

  /** What a mode is set to; the last one counts. */
  long value(Mode mode) {
    long value = Setting.OFF;
    for (Setting setting : settings) {
      if (setting.mode() == mode) {
        value = setting.value();
      }
    }
    return value;
  }

  private static int port(String text) throws UsageException {
    try {
      int port = Integer.parseInt(text);
      if (port >= 0 && port <= MAX_PORT) {
        return port;
      }
    } catch (NumberFormatException e) {
      throw new UsageException("--port takes a number from 0 to " + MAX_PORT + ", not " + text);
    }
    throw new UsageException("--port takes a number from 0 to " + MAX_PORT + ", not " + text);
  }

  static String usage() {
    StringBuilder text = new StringBuilder(
        "Usage: java -jar zel-faulttarget.jar [--port N] [MODE[=VALUE]]...\n\n"
            + "A JVM that misbehaves on command. Modes can be combined:\n\n");
    for (Mode mode : Mode.values()) {
      text.append(String.format("  %-18s %s%n", mode.usage(), mode.does()));
    }
    return text
        + "\n  --port N           opens a JMX port on 127.0.0.1 without password, 0 for any free\n"
        + "\nOnce it runs, it prints 'ready port=N pid=N' and takes each line of standard input\n"
        + "as a command: any MODE=VALUE, MODE=off, off (all modes), status, quit. So does the\n"
        + "operation 'apply' of its MBean zel.fault:type=Control. 'restart' must be given at the\n"
        + "start; a second process then keeps the first one alive.\n";
  }
}
