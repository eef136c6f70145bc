package com.qrv.norvel.monitoring.jmx.process;

import java.io.FileInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;

/**
 * Reads those files of {@code /proc} that the kernel answers by itself, so that no process can make
 * a reader wait. Thread-safe.
 */
public final class ProcFs {
  /** Longer than any pid; other names that begin with a digit are no processes. */
  private static final int MAX_DIGITS = 10;

  private static final int MAX_STAT_BYTES = 4096;

  /** A process of root may belong to 65,536 groups, and they are listed. */
  private static final int MAX_STATUS_BYTES = 1 << 20;

  private final Path root;

  /** @param root the mount of procfs */
  public ProcFs(Path root) {
    this.root = root;
  }

  /** The pids of all processes that can be seen. */
  public long[] pids() {
    String[] names = root.toFile().list();
    if (names == null) {
      return new long[0];
    }
    long[] pids = new long[names.length];
    int count = 0;
    for (String name : names) {
      long pid = pid(name);
      if (pid > 0) {
        pids[count] = pid;
        count++;
      }
    }
    return Arrays.copyOf(pids, count);
  }

  private static long pid(String name) {
    if (name.isEmpty() || name.length() > MAX_DIGITS) {
      return -1;
    }
    long pid = 0;
    for (int i = 0; i < name.length(); i++) {
      char c = name.charAt(i);
      if (c < '0' || c > '9') {
        return -1;
      }
      pid = 10 * pid + (c - '0');
    }
    return pid;
  }

  /** Null when the process is gone or hidden from us. */
  public ProcessStat stat(long pid) {
    String text = text(file(pid, "stat"), MAX_STAT_BYTES);
    return text == null ? null : ProcessStat.parse(text);
  }

  /** Null when the process is gone or hidden from us. */
  public ProcessStatus status(long pid) {
    String text = text(file(pid, "status"), MAX_STATUS_BYTES);
    return text == null ? null : ProcessStatus.parse(text);
  }

  /**
   * The identity of a namespace of a process, or null when it is hidden from us.
   *
   * @param kind for example {@code net}
   */
  public String namespace(long pid, String kind) {
    try {
      return Files.readSymbolicLink(file(pid, "ns").resolve(kind)).toString();
    } catch (IOException e) {
      return null;
    }
  }

  Path file(long pid, String name) {
    return root.resolve(Long.toString(pid)).resolve(name);
  }

  /** The directory that the process knows as {@code /tmp}, whatever container it is in. */
  public Path temp(long pid) {
    return file(pid, "root").resolve("tmp");
  }

  private static String text(Path path, int maxBytes) {
    try (InputStream input = new FileInputStream(path.toFile())) {
      return new String(input.readNBytes(maxBytes), StandardCharsets.ISO_8859_1);
    } catch (IOException e) {
      return null;
    }
  }
}
