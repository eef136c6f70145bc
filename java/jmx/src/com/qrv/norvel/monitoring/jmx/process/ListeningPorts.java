package com.qrv.norvel.monitoring.jmx.process;

import java.io.BufferedReader;
import java.io.FileInputStream;
import java.io.IOException;
import java.io.InputStreamReader;
import java.net.InetAddress;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.nio.file.AccessDeniedException;
import java.nio.file.DirectoryIteratorException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.HashSet;
import java.util.Set;

/**
 * Tells on which ports of the loopback interface one process answers, and nobody else. Thread-safe.
 *
 * <p>One question reads the machine's listening sockets, up to some 400,000, and the descriptors of
 * the process, up to 262,144.
 */
public final class ListeningPorts {
  private static final int MAX_LINES = 400_000;
  private static final int MAX_DESCRIPTORS = 1 << 18;

  // The numbers with which the kernel writes the states of a connection.
  private static final String LISTENING = "0A";
  private static final String ARRIVING = "03";

  private static final byte[] ANY4 = new byte[4];
  private static final byte[] LOOPBACK4 = {127, 0, 0, 1};
  private static final byte[] ANY6 = new byte[16];
  private static final byte[] LOOPBACK6 = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  private static final byte[] MAPPED = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -1, -1};

  private final ProcFs proc;

  public ListeningPorts(ProcFs proc) {
    this.proc = proc;
  }

  /**
   * The loopback address under which the port is the process's.
   *
   * @return null when the process does not listen there, or another one does, too
   * @throws IOException when the process is gone or hidden from us
   */
  public InetAddress loopback(long pid, int port) throws IOException {
    Set<String> by4 = new HashSet<>();
    Set<String> by6 = new HashSet<>();
    listeners(proc.file(pid, "net").resolve("tcp"), port, by4, by6);
    listeners(proc.file(pid, "net").resolve("tcp6"), port, by4, by6);
    Set<String> others = new HashSet<>(by4);
    others.addAll(by6);
    removeOwn(pid, others);
    if (isOwn(by4, others)) {
      return InetAddress.getByAddress(LOOPBACK4);
    }
    return isOwn(by6, others) ? InetAddress.getByAddress(LOOPBACK6) : null;
  }

  private static boolean isOwn(Set<String> sockets, Set<String> others) {
    if (sockets.isEmpty()) {
      return false;
    }
    for (String socket : sockets) {
      if (others.contains(socket)) {
        return false;
      }
    }
    return true;
  }

  /**
   * Collects the inodes of the sockets that listen on the port.
   *
   * @param by4 receives those that answer at 127.0.0.1
   * @param by6 receives those that answer at ::1
   */
  private static void listeners(Path table, int port, Set<String> by4, Set<String> by6)
      throws IOException {
    if (!Files.exists(table)) {
      // A kernel without that family.
      return;
    }
    try (BufferedReader lines =
        new BufferedReader(
            new InputStreamReader(
                new FileInputStream(table.toFile()), StandardCharsets.ISO_8859_1))) {
      lines.readLine(); // the headings
      String line = lines.readLine();
      for (int i = 0; line != null; i++) {
        if (i == MAX_LINES) {
          throw new IOException("too many sockets listen to tell whose port " + port + " is");
        }
        // Number, local address, remote address, state, queues, timer, retransmits, user,
        // timeout, inode.
        String[] fields = line.trim().split("\\s+", 11);
        if (fields.length < 10 || !isListed(fields[3])) {
          // The connections follow, and there may be many more of them.
          return;
        }
        if (fields[3].equals(LISTENING)) {
          add(fields[1], fields[9], port, by4, by6);
        }
        line = lines.readLine();
      }
    }
  }

  private static boolean isListed(String state) {
    return state.equals(LISTENING) || state.equals(ARRIVING);
  }

  private static void add(
      String local, String inode, int port, Set<String> by4, Set<String> by6) {
    int colon = local.indexOf(':');
    if (Integer.parseInt(local, colon + 1, local.length(), 16) != port) {
      return;
    }
    byte[] address = address(local.substring(0, colon));
    if (answers(address, ANY4, LOOPBACK4)) {
      by4.add(inode);
    }
    if (answers(address, ANY6, LOOPBACK6)) {
      by6.add(inode);
    }
    if (Arrays.equals(address, ANY6)) {
      // It may answer for both families; nothing tells.
      by4.add(inode);
    }
  }

  private static boolean answers(byte[] address, byte[] any, byte[] loopback) {
    return Arrays.equals(address, any) || Arrays.equals(address, loopback);
  }

  /** Words of the address in the machine's order; an IPv4 address within IPv6 becomes its own. */
  private static byte[] address(String hex) {
    ByteBuffer bytes = ByteBuffer.allocate(hex.length() / 2).order(ByteOrder.nativeOrder());
    for (int i = 0; i < hex.length(); i += 8) {
      bytes.putInt(Integer.parseUnsignedInt(hex, i, i + 8, 16));
    }
    byte[] address = bytes.array();
    boolean isMapped =
        address.length == 16 && Arrays.equals(Arrays.copyOf(address, MAPPED.length), MAPPED);
    return isMapped ? Arrays.copyOfRange(address, MAPPED.length, 16) : address;
  }

  /** Takes out the sockets that the process has open. */
  private void removeOwn(long pid, Set<String> inodes) throws IOException {
    try (DirectoryStream<Path> descriptors = Files.newDirectoryStream(proc.file(pid, "fd"))) {
      int count = 0;
      for (Path descriptor : descriptors) {
        count++;
        if (inodes.isEmpty() || count > MAX_DESCRIPTORS) {
          return;
        }
        String target = target(descriptor);
        if (target.startsWith("socket:[")) {
          inodes.remove(target.substring("socket:[".length(), target.length() - 1));
        }
      }
    } catch (NoSuchFileException | DirectoryIteratorException e) {
      throw new IOException("process " + pid + " is gone", e);
    } catch (AccessDeniedException e) {
      throw new IOException("the descriptors of process " + pid + " can't be seen", e);
    }
  }

  private static String target(Path descriptor) {
    try {
      return Files.readSymbolicLink(descriptor).toString();
    } catch (IOException e) {
      // It has been closed meanwhile.
      return "";
    }
  }
}
