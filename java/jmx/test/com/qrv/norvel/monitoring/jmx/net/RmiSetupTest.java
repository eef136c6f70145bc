package com.qrv.norvel.monitoring.jmx.net;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.InvalidClassException;
import java.io.ObjectInputFilter;
import java.io.ObjectInputStream;
import java.io.ObjectOutputStream;
import java.util.ArrayList;
import java.util.Collections;
import org.junit.jupiter.api.Test;

final class RmiSetupTest {
  private static final long HEAP = 64L << 20;

  @Test
  void anAnswerMayHaveAnEighthOfTheHeapUpToABound() {
    assertThat(RmiSetup.answerBytes(HEAP)).isEqualTo(8L << 20);
    assertThat(RmiSetup.answerBytes(1L << 40)).isEqualTo(64L << 20);
  }

  @Test
  void whatAnArrayOrACollectionAnnouncesFitsIntoTheHeap() throws Exception {
    assertThat(received(new Object[100_000])).isInstanceOf(Object[].class);
    assertThat(received(new ArrayList<>(Collections.nCopies(1000, 7))))
        .isInstanceOf(ArrayList.class);

    assertThatThrownBy(() -> received(new Object[200_000]))
        .isInstanceOf(InvalidClassException.class);
  }

  private static Object received(Object sent) throws IOException, ClassNotFoundException {
    ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    try (ObjectOutputStream output = new ObjectOutputStream(bytes)) {
      output.writeObject(sent);
    }
    try (ObjectInputStream input =
        new ObjectInputStream(new ByteArrayInputStream(bytes.toByteArray()))) {
      String filter = RmiSetup.filter(RmiSetup.answerBytes(HEAP));
      input.setObjectInputFilter(ObjectInputFilter.Config.createFilter(filter));
      return input.readObject();
    }
  }
}
