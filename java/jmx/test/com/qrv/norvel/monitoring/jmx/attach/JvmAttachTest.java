package com.qrv.norvel.monitoring.jmx.attach;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import com.qrv.norvel.monitoring.jmx.Await;
import com.qrv.norvel.monitoring.jmx.ChildJvm;
import com.qrv.norvel.monitoring.jmx.base.Clock;
import com.qrv.norvel.monitoring.jmx.process.FakeProc;
import com.qrv.norvel.monitoring.jmx.process.JvmAccess;
import com.qrv.norvel.monitoring.jmx.process.JvmProcess;
import com.qrv.norvel.monitoring.jmx.process.PerfData;
import com.qrv.norvel.monitoring.jmx.process.RealJvm;
import java.io.IOException;
import java.net.StandardProtocolFamily;
import java.net.UnixDomainSocketAddress;
import java.nio.ByteBuffer;
import java.nio.channels.ServerSocketChannel;
import java.nio.channels.SocketChannel;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

final class JvmAttachTest {
  /** No kernel gives such a pid: what would be signalled is never another process. */
  private static final long PID = 99_999_998;

  private static final int NOBODY = 65_534;
  private static final String REQUEST = "1\0jcmd\0ManagementAgent.start_local\0\0\0";

  @TempDir private Path root;

  private int uid;
  private FakeProc proc;

  @BeforeEach
  void begin() throws IOException {
    uid = FakeProc.testUid();
    proc = new FakeProc(root, 0);
    proc.jvm(PID, uid, "com.shop.Main");
  }

  @Test
  void aRealJvmStartsItsAgentAndPublishesTheAddress() throws Exception {
    try (ChildJvm child = ChildJvm.start()) {
      JvmProcess jvm = RealJvm.examine(child.pid());
      JvmAccess access = RealJvm.access();
      assertThat(access.published(jvm).text(PerfData.ADDRESS)).isNull();

      JvmAttach attach = new JvmAttach(jvm, access, 60_000, Clock.SYSTEM);
      attach.startManagementAgent();

      String address = access.published(jvm).text(PerfData.ADDRESS);
      assertThat(address).startsWith("service:jmx:rmi://");
      assertThat(access.temp(jvm).resolve(".attach_pid" + child.pid())).doesNotExist();
      // Again, now that its socket is there and its agent runs.
      attach.startManagementAgent();
      assertThat(access.published(jvm).text(PerfData.ADDRESS)).isEqualTo(address);
    }
  }

  @Test
  void aRequestThatAnotherToolHasLeftBehindServesAsWell() throws Exception {
    try (ChildJvm child = ChildJvm.start()) {
      JvmProcess jvm = RealJvm.examine(child.pid());
      Path left = Files.createFile(request(jvm));
      try {
        new JvmAttach(jvm, RealJvm.access(), 60_000, Clock.SYSTEM).startManagementAgent();

        assertThat(RealJvm.access().published(jvm).text(PerfData.ADDRESS)).isNotNull();
        assertThat(left).exists();
      } finally {
        Files.delete(left);
      }
    }
  }

  @Test
  void aFileOfAnotherUserInTheWayDoesNotKeepUsFromAsking() throws Exception {
    assumeTrue(uid == 0, "only root can give a file away");
    try (ChildJvm child = ChildJvm.start()) {
      JvmProcess jvm = RealJvm.examine(child.pid());
      Path foreign = Files.createFile(request(jvm));
      Files.setAttribute(foreign, "unix:uid", NOBODY);
      try {
        JvmAccess access = RealJvm.access();
        new JvmAttach(jvm, access, 60_000, Clock.SYSTEM).startManagementAgent();

        assertThat(access.published(jvm).text(PerfData.ADDRESS)).isNotNull();
        assertThat(foreign).exists();
        assertThat(access.workingDirectory(jvm).resolve(foreign.getFileName())).doesNotExist();
      } finally {
        Files.delete(foreign);
      }
    }
  }

  private static Path request(JvmProcess jvm) {
    return RealJvm.access().temp(jvm).resolve(".attach_pid" + jvm.innerPid());
  }

  @Test
  void aJvmThatDoesNotOpenItsSocketRefuses() throws Exception {
    try (ChildJvm deaf = ChildJvm.start("-XX:+DisableAttachMechanism")) {
      JvmProcess jvm = RealJvm.examine(deaf.pid());

      assertThatThrownBy(
              () -> new JvmAttach(jvm, RealJvm.access(), 50, Clock.SYSTEM).startManagementAgent())
          .isInstanceOf(AttachRefusedException.class)
          .hasMessage("process " + deaf.pid() + " does not open its socket for tools");
      assertThat(RealJvm.access().temp(jvm).resolve(".attach_pid" + deaf.pid())).doesNotExist();
    }
  }

  @Test
  void aJvmThatWouldEndByTheSignalIsNotAsked() throws Exception {
    try (ChildJvm fragile = ChildJvm.start("-Xrs")) {
      JvmProcess jvm = RealJvm.examine(fragile.pid());

      assertThatThrownBy(
              () -> new JvmAttach(jvm, RealJvm.access(), 50, Clock.SYSTEM).startManagementAgent())
          .hasMessageContaining("not to be attached to");

      assertThat(fragile.isAlive()).isTrue();
    }
  }

  @Test
  void aProcessThatHasThePidNowIsNotSignalled() throws Exception {
    try (ChildJvm child = ChildJvm.start("-Xrs")) {
      JvmProcess real = RealJvm.examine(child.pid());
      JvmProcess earlier =
          new JvmProcess(
              real.pid(), real.startTicks() - 1, real.uid(), real.innerPid(), "hsperfdata_x");

      assertThatThrownBy(() -> QuitSignal.send(earlier))
          .hasMessage("process " + child.pid() + " could not be signalled");

      assertThat(child.isAlive()).isTrue();
    }
  }

  @Test
  void theSocketOfTheJvmGetsTheRequest() throws Exception {
    try (Peer peer = new Peer("0\nstarted")) {
      attach(uid).startManagementAgent();

      assertThat(peer.received()).isEqualTo(REQUEST);
    }
  }

  @Test
  void theReasonOfAFailureIsShownOnOneLineAndInPart() throws Exception {
    try (Peer peer = new Peer("102\njava.lang.Error: port\n\tat\u001b[31m" + "x".repeat(1000))) {
      assertThatThrownBy(() -> attach(uid).startManagementAgent())
          .hasMessageStartingWith(
              "process " + PID + " could not start its management agent: "
                  + "java.lang.Error: port  at [31mxxx")
          .matches(e -> e.getMessage().length() < 300, "is short");
      assertThat(peer.received()).isEqualTo(REQUEST);
    }
  }

  @Test
  void anAnswerWithoutEndIsGivenUp() throws Exception {
    try (Peer peer = new Peer("0\n" + "x".repeat(100_000))) {
      assertThatThrownBy(() -> attach(uid).startManagementAgent())
          .hasMessage("the answer of process " + PID + " is too long");
      assertThat(peer.received()).isEqualTo(REQUEST);
    }
  }

  @Test
  void aSocketThatBelongsToAnotherUserGetsNoByte() throws Exception {
    proc.jvm(PID, uid + 1, "com.shop.Main");
    try (Peer peer = new Peer("0\n")) {
      // Nor is it connected to: a JVM would replace it when it is asked to.
      assertThatThrownBy(() -> attach(uid + 1).startManagementAgent())
          .hasMessageContaining("could not be signalled");
      assertThat(peer.isContacted()).isFalse();
    }
  }

  @Test
  void aSocketWithTheRightOwnerAtWhichAnotherUserListensGetsNoByte() throws Exception {
    assumeTrue(uid == 0, "only root can give a file away");
    proc.jvm(PID, NOBODY, "com.shop.Main");
    try (Peer peer = new Peer("0\n")) {
      Files.setAttribute(peer.path, "unix:uid", NOBODY);

      assertThatThrownBy(() -> attach(NOBODY).startManagementAgent())
          .hasMessage("another user answers in place of process " + PID);

      assertThat(peer.received()).isEmpty();
    }
  }

  @Test
  void aLinkInPlaceOfTheSocketIsNotFollowed() throws Exception {
    try (Peer peer = new Peer("0\n")) {
      Path elsewhere = Files.move(peer.path, peer.path.resolveSibling("elsewhere"));
      Files.createSymbolicLink(peer.path, elsewhere);

      assertThatThrownBy(() -> attach(uid).startManagementAgent())
          .hasMessageContaining("could not be signalled");
      assertThat(peer.isContacted()).isFalse();
    }
  }

  @Test
  void aPeerThatSaysNothingIsLeftWhenTheCallIsCut() throws Exception {
    try (Peer peer = new Peer(null)) {
      JvmAttach attach = attach(uid);
      CompletableFuture<Throwable> end = new CompletableFuture<>();
      new Thread(
              () -> {
                try {
                  attach.startManagementAgent();
                  end.complete(new AssertionError("it was answered"));
                } catch (IOException | InterruptedException e) {
                  end.complete(e);
                }
              })
          .start();
      assertThat(peer.received()).isEqualTo(REQUEST);

      attach.cut();

      assertThat(end.get(60, TimeUnit.SECONDS)).isInstanceOf(IOException.class);
    }
  }

  private JvmAttach attach(int jvmUid) {
    JvmProcess jvm = new JvmProcess(PID, 4200 + PID, jvmUid, PID, "hsperfdata_ann");
    return new JvmAttach(jvm, proc.access(), 50, Clock.SYSTEM);
  }

  /** Listens in the place of the JVM's socket, with the credentials of the tests. */
  private final class Peer implements AutoCloseable {
    private final Path path = proc.temp(PID).resolve(".java_pid" + PID);
    private final ServerSocketChannel server =
        ServerSocketChannel.open(StandardProtocolFamily.UNIX);
    private final CompletableFuture<String> request = new CompletableFuture<>();

    /** @param answer null to say nothing */
    Peer(String answer) throws IOException {
      server.bind(UnixDomainSocketAddress.of(path));
      new Thread(() -> serve(answer)).start();
    }

    private void serve(String answer) {
      try (SocketChannel channel = server.accept()) {
        ByteBuffer bytes = ByteBuffer.allocate(1000);
        while (bytes.position() < REQUEST.length() && channel.read(bytes) >= 0) {
          // Until it is whole, or the other side has gone.
        }
        request.complete(
            new String(bytes.array(), 0, bytes.position(), StandardCharsets.ISO_8859_1));
        if (answer == null) {
          channel.read(bytes); // until it is left
        } else {
          channel.write(ByteBuffer.wrap(answer.getBytes(StandardCharsets.ISO_8859_1)));
        }
      } catch (IOException e) {
        request.completeExceptionally(e);
      }
    }

    /** What came, once all has come. */
    String received() throws Exception {
      return request.get(60, TimeUnit.SECONDS);
    }

    boolean isContacted() throws Exception {
      server.close();
      Await.until("nobody waits any more", request::isDone);
      return !request.isCompletedExceptionally();
    }

    @Override
    public void close() throws IOException {
      server.close();
      if (Files.exists(path, LinkOption.NOFOLLOW_LINKS)) {
        Files.delete(path);
      }
    }
  }
}
