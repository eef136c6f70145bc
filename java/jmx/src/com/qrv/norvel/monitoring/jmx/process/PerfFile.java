package com.qrv.norvel.monitoring.jmx.process;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.SeekableByteChannel;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.util.Set;

/**
 * Reads the file in which a JVM publishes itself, if it is that: a regular file with one name, of
 * the JVM's user, in a directory of that user that nobody else may write to, and small.
 *
 * <p>What is no regular file is not opened, because a FIFO would make us wait. Only the JVM's own
 * user can put something else there between the look and the opening; then the reading may hang,
 * but what was opened is not believed.
 */
final class PerfFile {
  private static final int MAX_BYTES = 1 << 20;

  private PerfFile() {}

  /** @param uid the user of the JVM */
  static byte[] read(Path directory, String name, int uid) throws IOException {
    UnixFile home = UnixFile.of(directory);
    check(home.isDirectory(), directory, "is no directory");
    check(home.uid() == uid, directory, "belongs to user " + home.uid() + ", not " + uid);
    check(!home.isWritableByOthers(), directory, "can be written to by others");
    Path file = directory.resolve(name);
    UnixFile before = UnixFile.of(file);
    check(before.isRegular(), file, "is no regular file");
    check(before.uid() == uid, file, "belongs to user " + before.uid() + ", not " + uid);
    check(before.links() == 1, file, "has a second name");
    check(
        before.size() >= PerfData.MIN_BYTES && before.size() <= MAX_BYTES,
        file,
        "has " + before.size() + " bytes");
    ByteBuffer content = ByteBuffer.allocate((int) before.size());
    try (SeekableByteChannel channel =
        Files.newByteChannel(
            file, Set.of(StandardOpenOption.READ, LinkOption.NOFOLLOW_LINKS))) {
      while (content.hasRemaining() && channel.read(content) >= 0) {
        // Until it is full; a file that has shrunk meanwhile leaves zeros.
      }
    }
    check(UnixFile.of(file).isSameAs(before), file, "was exchanged while it was read");
    return content.array();
  }

  private static void check(boolean holds, Path file, String complaint) throws IOException {
    if (!holds) {
      throw new IOException(file + " " + complaint);
    }
  }
}
