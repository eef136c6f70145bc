package com.qrv.norvel.monitoring.jmx.attach;

import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.process.JvmAccess;
import com.qrv.norvel.monitoring.jmx.process.JvmProcess;
import com.qrv.norvel.monitoring.jmx.process.UnixFile;
import java.io.IOException;
import java.net.StandardProtocolFamily;
import java.net.UnixDomainSocketAddress;
import java.nio.ByteBuffer;
import java.nio.channels.SocketChannel;
import java.nio.charset.StandardCharsets;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.Set;
import jdk.net.ExtendedSocketOptions;

/**
 * Attaches to one JVM. Its socket is there from the first time that somebody attached; before, the
 * JVM opens it when it gets QUIT and finds a file that asks for it.
 *
 * <p>Used by one thread, except for {@link #cut}, which is for good.
 */
public final class JvmAttach {
  /** An answer is a number and, at most, a stack trace. */
  private static final int MAX_ANSWER_BYTES = 64 << 10;

  private static final int MAX_REASON = 200;
  private static final long LOOK_MILLIS = 20;

  // The version of the protocol, the command and its three arguments, each with a zero byte.
  private static final String START_AGENT = "1\0jcmd\0ManagementAgent.start_local\0\0\0";

  private final JvmProcess jvm;
  private final JvmAccess access;
  private final long timeoutMillis;
  private final Clock clock;
  private SocketChannel open; // guarded by this
  private boolean isCut; // guarded by this

  /** @param timeoutMillis how long to wait for the JVM to open its socket */
  public JvmAttach(JvmProcess jvm, JvmAccess access, long timeoutMillis, Clock clock) {
    this.jvm = jvm;
    this.access = access;
    this.timeoutMillis = timeoutMillis;
    this.clock = clock;
  }

  /**
   * Has the JVM start its management agent, which then publishes its address. One that runs already
   * is not disturbed. It may hang until {@link #cut}.
   *
   * @throws AttachRefusedException when the JVM was asked in vain
   */
  public void startManagementAgent() throws IOException, InterruptedException {
    checkAttachable();
    Path socket = access.temp(jvm).resolve(".java_pid" + jvm.innerPid());
    if (find(socket) == null) {
      ask(socket);
    }
    String answer = request(socket, START_AGENT);
    int end = answer.indexOf('\n');
    String status = end < 0 ? answer : answer.substring(0, end);
    if (!status.equals("0")) {
      throw new IOException(
          "process " + jvm.pid() + " could not start its management agent: "
              + printable(answer.substring(end + 1)));
    }
  }

  /** Ends the request that the other thread is in, and those to come. Never blocks. */
  public synchronized void cut() {
    isCut = true;
    if (open != null) {
      close(open);
    }
  }

  private static void close(SocketChannel channel) {
    try {
      channel.close();
    } catch (IOException e) {
      // Its descriptor is gone either way.
      return;
    }
  }

  /** A process in another state might end by the signal, or have the pid of one that has ended. */
  private void checkAttachable() throws IOException {
    if (!access.isAttachable(jvm)) {
      throw new IOException("process " + jvm.pid() + " is gone, or not to be attached to now");
    }
  }

  /** The JVM's socket, or null while there is none, or one of somebody else in its place. */
  private UnixFile find(Path socket) throws IOException {
    UnixFile file;
    try {
      file = UnixFile.of(socket);
    } catch (NoSuchFileException e) {
      return null;
    }
    return file.isSocket() && file.uid() == jvm.uid() ? file : null;
  }

  /** Has the JVM open its socket, and waits for it. */
  private void ask(Path socket) throws IOException, InterruptedException {
    Path request = requestFile();
    try {
      checkAttachable();
      QuitSignal.send(jvm);
      long end = clock.millis() + timeoutMillis;
      while (find(socket) == null) {
        if (clock.millis() >= end) {
          throw new AttachRefusedException(refusal(socket));
        }
        pause();
      }
    } finally {
      if (request != null) {
        Files.deleteIfExists(request);
      }
    }
  }

  private String refusal(Path socket) {
    String reason = "process " + jvm.pid() + " does not open its socket for tools";
    return Files.exists(socket, LinkOption.NOFOLLOW_LINKS)
        ? reason + ": " + socket + " is somebody else's"
        : reason;
  }

  private synchronized void pause() throws IOException, InterruptedException {
    if (isCut) {
      throw new IOException("process " + jvm.pid() + " takes too long to open its socket");
    }
    wait(LOOK_MILLIS);
  }

  /**
   * Makes the file that asks for the socket. The JVM looks in its {@code /tmp} and in its working
   * directory, and believes a file of its own user or of root.
   *
   * @return null when there is one already that it will believe
   */
  private Path requestFile() throws IOException {
    String name = ".attach_pid" + jvm.innerPid();
    Path file = access.temp(jvm).resolve(name);
    try {
      return create(file);
    } catch (FileAlreadyExistsException e) {
      int owner = UnixFile.of(file).uid();
      boolean isBelieved = owner == jvm.uid() || owner == 0;
      return isBelieved ? null : create(access.workingDirectory(jvm).resolve(name));
    }
  }

  private static Path create(Path file) throws IOException {
    Files.newByteChannel(
            file,
            Set.of(StandardOpenOption.WRITE, StandardOpenOption.CREATE_NEW),
            PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rw-------")))
        .close();
    return file;
  }

  private String request(Path socket, String text) throws IOException {
    SocketChannel channel = SocketChannel.open(StandardProtocolFamily.UNIX);
    try (channel) {
      synchronized (this) {
        if (isCut) {
          throw new IOException("process " + jvm.pid() + " takes too long to attach to");
        }
        open = channel;
      }
      connect(channel, socket);
      ByteBuffer bytes = ByteBuffer.wrap(text.getBytes(StandardCharsets.ISO_8859_1));
      while (bytes.hasRemaining()) {
        channel.write(bytes);
      }
      return answer(channel);
    } finally {
      synchronized (this) {
        open = null;
      }
    }
  }

  /** Connects, and finds out who is there: the kernel tells which user listens. */
  private void connect(SocketChannel channel, Path socket) throws IOException {
    UnixFile file = find(socket);
    if (file == null) {
      throw new IOException(socket + " is not the socket of process " + jvm.pid());
    }
    channel.connect(UnixDomainSocketAddress.of(socket));
    boolean isPeer =
        channel.getOption(ExtendedSocketOptions.SO_PEERCRED).user().equals(file.owner());
    if (!isPeer) {
      throw new IOException("another user answers in place of process " + jvm.pid());
    }
    checkAttachable();
  }

  private String answer(SocketChannel channel) throws IOException {
    ByteBuffer bytes = ByteBuffer.allocate(MAX_ANSWER_BYTES);
    while (channel.read(bytes) >= 0) {
      if (!bytes.hasRemaining()) {
        throw new IOException("the answer of process " + jvm.pid() + " is too long");
      }
    }
    return new String(bytes.array(), 0, bytes.position(), StandardCharsets.UTF_8);
  }

  private static String printable(String text) {
    StringBuilder clean = new StringBuilder();
    for (int i = 0; i < text.length() && clean.length() < MAX_REASON; i++) {
      char c = text.charAt(i);
      clean.append(c < ' ' || c == 0x7f ? ' ' : c);
    }
    return clean.toString().trim();
  }
}
