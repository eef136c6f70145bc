package com.qrv.norvel.monitoring.jmx.process;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatThrownBy;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.Random;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

final class PerfDataTest {
  private static final int READY = 7;
  private static final int ENTRY = 32;

  @ParameterizedTest
  @ValueSource(strings = {"BIG_ENDIAN", "LITTLE_ENDIAN"})
  void readsTheTextsInEitherByteOrder(String order) throws IOException {
    ByteOrder byteOrder =
        order.equals("BIG_ENDIAN") ? ByteOrder.BIG_ENDIAN : ByteOrder.LITTLE_ENDIAN;
    byte[] content =
        new PerfImage(byteOrder)
            .text(PerfData.CAPABILITIES, "11")
            .text(PerfData.COMMAND, "com.shop.Main käse")
            .bytes();

    PerfData data = PerfData.parse(content);

    assertThat(data.text(PerfData.COMMAND)).isEqualTo("com.shop.Main käse");
    assertThat(data.text(PerfData.CAPABILITIES)).isEqualTo("11");
    assertThat(data.text(PerfData.ADDRESS)).isNull();
  }

  @Test
  void readsNothingBeforeTheJvmIsReady() throws IOException {
    byte[] content = PerfImage.ofJvm("com.shop.Main").bytes();
    content[READY] = 0;

    assertThat(PerfData.parse(content)).isNull();
  }

  @ParameterizedTest
  @CsvSource({
    "0, 0x7f", // the magic number
    "5, 9", // the major version
  })
  void refusesWhatIsOfAnotherKind(int place, String value) {
    byte[] content = PerfImage.ofJvm("com.shop.Main").bytes();
    content[place] = Integer.decode(value).byteValue();

    assertThatThrownBy(() -> PerfData.parse(content)).isInstanceOf(IOException.class);
  }

  @ParameterizedTest
  @CsvSource({
    "8, 40000", // bytes in use
    "8, -1",
    "8, 31",
    "24, 2000000000", // the first entry
    "24, -20",
    "28, 2000000000", // the number of entries
    "32, 0", // the first entry's length
    "32, 19",
    "32, 2000000000",
    "36, 2000000000", // its name
    "36, -1",
    "40, 2000000000", // its value's length
    "40, -1",
    "48, 2000000000", // its value
    "48, -1",
  })
  void refusesWhatLeadsOutOfTheData(int place, int value) {
    byte[] content = PerfImage.ofJvm("com.shop.Main").bytes();
    ByteBuffer.wrap(content).order(ByteOrder.LITTLE_ENDIAN).putInt(place, value);

    assertThatThrownBy(() -> PerfData.parse(content))
        .isInstanceOf(IOException.class)
        .hasMessage("the data of the JVM are damaged");
  }

  @Test
  void anEntryWithoutAZeroByteEndsWithItsRoom() throws IOException {
    byte[] content = PerfImage.ofJvm("com.shop.Main").bytes();
    int end = ByteBuffer.wrap(content).order(ByteOrder.LITTLE_ENDIAN).getInt(8);
    for (int i = end - 4; i < content.length; i++) {
      content[i] = 'x';
    }

    assertThat(PerfData.parse(content).text(PerfData.COMMAND)).hasSizeLessThan(20);
  }

  @Test
  void whateverIsChangedItReadsOrRefuses() {
    Random random = new Random(4);
    byte[] whole = PerfImage.ofJvm("com.shop.Main").text(PerfData.ADDRESS, "service").bytes();
    int used = ByteBuffer.wrap(whole).order(ByteOrder.LITTLE_ENDIAN).getInt(8);
    for (int round = 0; round < 20_000; round++) {
      byte[] content = whole.clone();
      for (int change = random.nextInt(4); change >= 0; change--) {
        content[random.nextInt(change == 0 ? ENTRY + 20 : used)] = (byte) random.nextInt(256);
      }
      try {
        PerfData.parse(content);
      } catch (IOException e) {
        assertThat(e).hasMessageMatching("(?s).*(damaged|begin as|version).*");
      }
    }
  }

  @Test
  void aTruncatedFileIsDamaged() {
    assertThatThrownBy(() -> PerfData.parse(new byte[] {(byte) 0xca}))
        .isInstanceOf(IOException.class);
  }
}
