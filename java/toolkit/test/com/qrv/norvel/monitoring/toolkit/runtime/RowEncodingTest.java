package com.qrv.norvel.monitoring.toolkit.runtime;

import static org.assertj.core.api.Assertions.assertThat;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

class RowEncodingTest {

  @ParameterizedTest
  @ValueSource(longs = {0, 1, -1, 258, Short.MIN_VALUE, Integer.MAX_VALUE, Long.MIN_VALUE})
  void writesIntegersInTheByteOrderOfTheMachine(long value) {
    byte[] row = new byte[16];

    RowEncoding.putInteger(row, 1, 2, value);
    RowEncoding.putInteger(row, 3, 4, value);
    RowEncoding.putInteger(row, 7, 8, value);

    ByteBuffer read = ByteBuffer.wrap(row).order(ByteOrder.nativeOrder());
    assertThat(read.getShort(1)).isEqualTo((short) value);
    assertThat(read.getInt(3)).isEqualTo((int) value);
    assertThat(read.getLong(7)).isEqualTo(value);
    assertThat(row[0]).isZero();
    assertThat(row[15]).isZero();
  }

  @ParameterizedTest
  @CsvSource({
    "abc, 5, abc", // padded
    "abc, 3, abc",
    "abcd, 3, abc",
    "aä, 2, a", // two bytes
    "aä, 3, aä",
    "a€x, 3, a", // three bytes; what follows must not slip into the gap
    "a€x, 4, a€",
    "a\uD83D\uDE00, 4, a", // four bytes
    "a\uD83D\uDE00b, 5, a\uD83D\uDE00"
  })
  void cutsTextBetweenTwoCharactersAndPads(String text, int size, String kept) {
    byte[] row = new byte[size + 2];
    Arrays.fill(row, (byte) 'X');

    RowEncoding.putText(row, 1, size, text, (byte) '.');

    byte[] expected = new byte[size + 2];
    Arrays.fill(expected, (byte) '.');
    byte[] bytes = kept.getBytes(StandardCharsets.UTF_8);
    System.arraycopy(bytes, 0, expected, 1, bytes.length);
    expected[0] = 'X';
    expected[size + 1] = 'X';
    assertThat(row).isEqualTo(expected);
  }

  @Test
  void writesAQuestionMarkForWhatIsNoCharacter() {
    byte[] row = new byte[9];

    RowEncoding.putText(row, 0, 9, "a\0b\uD83Dc\uDE00d\uD83D", (byte) 0);

    assertThat(new String(row, StandardCharsets.US_ASCII)).isEqualTo("a?b?c?d?\0");
  }

  @Test
  void writesEveryCharacterAsUtf8Does() {
    byte[] row = new byte[4];
    for (int c = 1; c <= Character.MAX_CODE_POINT; c++) {
      if (c >= Character.MIN_SURROGATE && c <= Character.MAX_SURROGATE) {
        continue;
      }
      String text = new String(Character.toChars(c));

      RowEncoding.putText(row, 0, 4, text, (byte) 0);

      byte[] expected = Arrays.copyOf(text.getBytes(StandardCharsets.UTF_8), 4);
      if (!Arrays.equals(row, expected)) {
        assertThat(row).as("U+%X", c).isEqualTo(expected);
      }
    }
  }
}
