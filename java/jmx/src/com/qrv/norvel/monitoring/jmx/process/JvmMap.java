package com.qrv.norvel.monitoring.jmx.process;

import java.io.BufferedReader;
import java.io.FileInputStream;
import java.io.FilterInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.InputStreamReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;

/**
 * Looks for a JVM in the memory map of a process: for the library that every JVM is, and for the
 * file that it publishes itself in. That is where the file's directory is known from, so no
 * directory that anybody may write to has to be listed.
 */
final class JvmMap {
  /** A map has at most some hundred thousand lines, most of them short. */
  private static final long MAX_BYTES = 64L << 20;

  /** Behind the name may stand that it was deleted by an update. */
  private static final String LIBRARY = "/libjvm.so";

  private static final String DIRECTORY = "/hsperfdata_";

  private JvmMap() {}

  /**
   * The name of the directory in which the process's JVM publishes itself; null when it is not seen
   * to run one, or when that does not publish itself. The reading may hang: the process's memory
   * may be backed by a file system of its own.
   *
   * @param innerPid the JVM's own idea of its pid, which names its file
   */
  static String perfDirectory(Path maps, long innerPid) throws IOException {
    String end = "/" + innerPid;
    String directory = null;
    boolean hasLibrary = false;
    try (InputStream input = new Bounded(new FileInputStream(maps.toFile()), MAX_BYTES);
        BufferedReader lines =
            new BufferedReader(new InputStreamReader(input, StandardCharsets.ISO_8859_1))) {
      String line = lines.readLine();
      while (line != null && !(hasLibrary && directory != null)) {
        hasLibrary |= line.contains(LIBRARY);
        if (line.endsWith(end)) {
          directory = directory == null ? directory(line, line.length() - end.length()) : directory;
        }
        line = lines.readLine();
      }
    }
    return hasLibrary ? directory : null;
  }

  /** The directory's name that stands before {@code end}, or null when there is another one. */
  private static String directory(String line, int end) {
    int begin = line.lastIndexOf('/', end - 1);
    if (begin < 0 || !line.startsWith(DIRECTORY, begin)) {
      return null;
    }
    for (int i = begin; i < end; i++) {
      // Such a name can't be told from its bytes whatever the locale, and no user has one.
      if (line.charAt(i) <= ' ' || line.charAt(i) > '~') {
        return null;
      }
    }
    return line.substring(begin + 1, end);
  }

  /** Ends after so many bytes, also within a line. */
  private static final class Bounded extends FilterInputStream {
    private long left;

    Bounded(InputStream input, long bytes) {
      super(input);
      this.left = bytes;
    }

    @Override
    public int read() throws IOException {
      throw new UnsupportedOperationException();
    }

    @Override
    public int read(byte[] bytes, int offset, int length) throws IOException {
      int count = left <= 0 ? -1 : in.read(bytes, offset, (int) Math.min(length, left));
      left -= Math.max(0, count);
      return count;
    }
  }
}
