package com.qrv.norvel.monitoring.jmx.net;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.DataOutputStream;
import java.io.EOFException;
import java.io.IOException;
import java.io.InputStream;
import java.io.ObjectOutputStream;
import java.io.OutputStream;
import java.net.Socket;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.Test;

final class AnswerCheckTest {
  private static final int RETURN = 0x51;

  private final Socket socket = new Socket();
  private final AnswerCheck check = new AnswerCheck(socket, 100_000);

  @Test
  void anAnswerComesThroughAsItIs() throws Exception {
    byte[] answer = answer(new ArrayList<>(List.of("a", 1, 2L)));

    assertThat(check.checked(new ByteArrayInputStream(answer)).readAllBytes()).isEqualTo(answer);
    assertThat(socket.isClosed()).isFalse();
  }

  @Test
  void ofAnAnswerWithoutAValueNothingMoreIsWaitedFor() throws Exception {
    byte[] answer = answer(null);
    byte[] head = Arrays.copyOf(answer, answer.length - 1); // without the null
    InputStream in = check.checked(new ByteArrayInputStream(head));

    assertThat(in.readNBytes(head.length)).isEqualTo(head);
  }

  @Test
  void whatIsSentAheadDoesNotPassUnchecked() throws Exception {
    List<Object> itself = new ArrayList<>();
    itself.add(itself);
    ByteArrayOutputStream sent = new ByteArrayOutputStream();
    DataOutputStream out = new DataOutputStream(sent);
    out.write(0x4E); // agrees on the protocol
    out.writeUTF("localhost");
    out.writeInt(4711);
    int agreement = sent.size();
    out.write(answer(itself));
    InputStream in = check.checked(new ByteArrayInputStream(sent.toByteArray()));
    OutputStream questions = check.noting(OutputStream.nullOutputStream());

    assertThat(in.read(new byte[8192])).isEqualTo(agreement);
    questions.write(1);

    assertThatThrownBy(in::readAllBytes)
        .isInstanceOf(RefusedAnswerException.class)
        .hasMessageContaining("holds itself");
    assertThat(socket.isClosed()).isTrue();
    assertThatThrownBy(in::read).isInstanceOf(IOException.class);
  }

  @Test
  void anAnswerThatEndsInTheMiddleIsNone() throws Exception {
    byte[] answer = answer("x".repeat(100));
    InputStream in =
        check.checked(new ByteArrayInputStream(Arrays.copyOf(answer, 50)));

    assertThatThrownBy(in::readAllBytes).isInstanceOf(EOFException.class);
  }

  @Test
  void whatDoesNotSpeakTheProtocolIsLeftToRmiByteByByte() throws Exception {
    InputStream in = check.checked(new ByteArrayInputStream("SSH-2.0".getBytes("US-ASCII")));

    assertThat(in.read(new byte[100])).isEqualTo(1);
    assertThat(in.readAllBytes()).hasSize(6);
  }

  @Test
  void whatIsNoStreamOfObjectsIsRefused() {
    InputStream in = check.checked(new ByteArrayInputStream(new byte[] {RETURN, 1, 2, 3, 4, 5}));

    assertThatThrownBy(in::read).hasMessage("the answer is no stream of objects");
  }

  /** As RMI sends it: what kind it is, the stream's beginning, some numbers, and the value. */
  private static byte[] answer(Object value) throws IOException {
    ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    bytes.write(RETURN);
    try (ObjectOutputStream out = new ObjectOutputStream(bytes)) {
      out.write(new byte[15]);
      out.writeObject(value);
    }
    return bytes.toByteArray();
  }
}
