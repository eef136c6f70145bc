package com.qrv.norvel.monitoring.jmx.process;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import com.qrv.norvel.monitoring.jmx.ChildJvm;
import java.io.IOException;
import java.net.Inet6Address;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.nio.file.Files;
import java.nio.file.Path;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

final class ListeningPortsTest {
  private static final long PID = 17;
  private static final int PORT = 0x1f90;
  private static final String HEAD =
      "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout"
          + " inode\n";

  @TempDir private Path root;

  private FakeProc proc;

  @BeforeEach
  void process() throws IOException {
    proc = new FakeProc(root, 1000);
    proc.process(PID, 1000);
    opens("3", "/dev/null");
    opens("4", "socket:[4711]");
  }

  @ParameterizedTest
  @CsvSource({
    "tcp, 00000000, 127.0.0.1",
    "tcp, 0100007F, 127.0.0.1",
    "tcp6, 00000000000000000000000000000000, 127.0.0.1",
    "tcp6, 0000000000000000FFFF00000100007F, 127.0.0.1",
    "tcp6, 00000000000000000000000001000000, 0:0:0:0:0:0:0:1",
    "tcp, 0A00000A,", // 10.0.0.10
    "tcp6, 000080FE000000000000000001000000,", // fe80::1
  })
  void tellsWhichLoopbackAddressAnswers(String table, String local, String answer)
      throws IOException {
    listens(table, line(local, "1F90", "0A", 4711));

    InetAddress address = new ListeningPorts(proc.procFs()).loopback(PID, PORT);

    assertThat(address == null ? null : address.getHostAddress()).isEqualTo(answer);
  }

  @ParameterizedTest
  @CsvSource({
    "0100007F, 1F91, 0A, 4711", // another port
    "0100007F, 1F90, 01, 4711", // a connection
    "0100007F, 1F90, 0A, 4712", // somebody else's socket
  })
  void leavesAlone(String local, String port, String state, int inode) throws IOException {
    listens("tcp", line(local, port, state, inode));

    assertThat(new ListeningPorts(proc.procFs()).loopback(PID, PORT)).isNull();
  }

  @Test
  void aPortOnWhichAnotherProcessMightAnswerIsNotTheProcesss() throws IOException {
    listens("tcp6", line("00000000000000000000000000000000", "1F90", "0A", 4711));
    listens("tcp", line("0100007F", "1F90", "0A", 4712));

    // The other one answers at 127.0.0.1, but not at ::1.
    assertThat(new ListeningPorts(proc.procFs()).loopback(PID, PORT))
        .isInstanceOf(Inet6Address.class);

    listens(
        "tcp6",
        line("00000000000000000000000000000000", "1F90", "0A", 4711)
            + line("00000000000000000000000001000000", "1F90", "0A", 4713));
    assertThat(new ListeningPorts(proc.procFs()).loopback(PID, PORT)).isNull();
  }

  @Test
  void doesNotReadTheConnectionsBehindWhatListens() throws IOException {
    listens(
        "tcp",
        line("0100007F", "1F90", "0A", 4711)
            + line("0100007F", "1F90", "03", 0)
            + line("0100007F", "1F90", "01", 1)
            + "garbage\n");

    assertThat(new ListeningPorts(proc.procFs()).loopback(PID, PORT)).isNotNull();
  }

  @Test
  void aRealProcessIsToldFromAnother() throws Exception {
    ListeningPorts ports = new ListeningPorts(new ProcFs(Path.of("/proc")));
    long self = ProcessHandle.current().pid();
    try (ServerSocket mine = new ServerSocket(0, 1, InetAddress.getLoopbackAddress());
        ServerSocket everywhere = new ServerSocket(0);
        ChildJvm other = ChildJvm.start()) {
      assertThat(ports.loopback(self, mine.getLocalPort()).isLoopbackAddress()).isTrue();
      assertThat(ports.loopback(self, everywhere.getLocalPort()).isLoopbackAddress()).isTrue();
      assertThat(ports.loopback(other.pid(), mine.getLocalPort())).isNull();
      assertThat(ports.loopback(other.pid(), everywhere.getLocalPort())).isNull();
    }
  }

  @Test
  void aProcessThatIsGoneHasNoPorts() {
    assertThatThrownBy(() -> new ListeningPorts(new ProcFs(root)).loopback(99, PORT))
        .isInstanceOf(IOException.class);
  }

  private void opens(String descriptor, String what) throws IOException {
    Files.createSymbolicLink(proc.file(PID, "fd").resolve(descriptor), Path.of(what));
  }

  private void listens(String table, String lines) throws IOException {
    Files.writeString(proc.file(PID, "net").resolve(table), HEAD + lines);
  }

  private static String line(String local, String port, String state, int inode) {
    String none = "0".repeat(local.length());
    return "   0: " + local + ":" + port + " " + none + ":0000 " + state
        + " 00000000:00000000 00:00000000 00000000  1000        0 " + inode
        + " 1 0000000000000000 100 0 0 10 0\n";
  }
}
