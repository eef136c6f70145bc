package com.qrv.norvel.monitoring.jmx.discovery;

/** What a JVM runs, out of its command: a class's full name or the path of a jar. */
final class MainClass {
  /** The longest name that a subnode may have, in bytes. */
  private static final int MAX_NAME = 32;

  private MainClass() {}

  /** The class or jar of a command, without arguments and without a module's name. */
  static String of(String command) {
    int end = command.indexOf(' ');
    String first = end < 0 ? command : command.substring(0, end);
    // "module/class" is told from a path by its single slash and the missing suffix.
    int slash = first.lastIndexOf('/');
    if (slash > 0 && !first.startsWith("/") && !first.endsWith(".jar")) {
      return first.substring(slash + 1);
    }
    return first;
  }

  /** The subnode's name for a JVM: the last part of the main class, or the jar, and the pid. */
  static String subnodeName(String mainClass, long pid) {
    String name = mainClass;
    int slash = name.lastIndexOf('/');
    if (slash >= 0 || name.endsWith(".jar")) {
      name = name.substring(slash + 1);
      if (name.endsWith(".jar")) {
        name = name.substring(0, name.length() - ".jar".length());
      }
    } else {
      name = name.substring(name.lastIndexOf('.') + 1);
    }
    StringBuilder clean = new StringBuilder();
    for (int i = 0; i < name.length(); i++) {
      char c = name.charAt(i);
      clean.append(isAllowed(c) ? c : '_');
    }
    if (clean.length() == 0) {
      clean.append("jvm");
    }
    String suffix = ":" + pid;
    clean.setLength(Math.min(clean.length(), MAX_NAME - suffix.length()));
    return clean.append(suffix).toString();
  }

  private static boolean isAllowed(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')
        || c == '_' || c == '.' || c == '-';
  }
}
