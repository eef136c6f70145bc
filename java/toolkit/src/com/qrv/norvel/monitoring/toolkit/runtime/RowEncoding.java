package com.qrv.norvel.monitoring.toolkit.runtime;

import java.nio.ByteOrder;

/**
 * Writes values into the bytes of a row: integers in the byte order of the machine, text in UTF-8.
 *
 * <p>By hand, since the JDK's views of byte arrays load the whole machinery of method handles, and
 * the first rows would wait for that.
 */
final class RowEncoding {
  private static final boolean LITTLE = ByteOrder.nativeOrder() == ByteOrder.LITTLE_ENDIAN;
  private static final char REPLACEMENT = '?';

  private RowEncoding() {}

  /** Writes the low bytes of a value. */
  static void putInteger(byte[] row, int offset, int size, long value) {
    long rest = value;
    for (int i = 0; i < size; i++) {
      row[LITTLE ? offset + i : offset + size - 1 - i] = (byte) rest;
      rest >>= Byte.SIZE;
    }
  }

  /** Fills a cell with one byte. */
  static void fill(byte[] row, int offset, int size, byte pad) {
    for (int i = offset; i < offset + size; i++) {
      row[i] = pad;
    }
  }

  /** Writes as many whole characters as fit, and pads the rest of the cell. */
  static void putText(byte[] row, int offset, int size, String text, byte pad) {
    int end = offset + size;
    int at = offset;
    int length = text.length();
    for (int i = 0; i < length; i++) {
      int c = text.charAt(i);
      if (Character.isSurrogate((char) c)) {
        c = pairAt(text, i);
        if (c >= Character.MIN_SUPPLEMENTARY_CODE_POINT) {
          i++;
        }
      } else if (c == 0) {
        c = REPLACEMENT; // A zero would end the text for whoever reads it.
      }
      int next = putCharacter(row, at, end, c);
      if (next == at) {
        break;
      }
      at = next;
    }
    fill(row, at, end - at, pad);
  }

  private static int pairAt(String text, int index) {
    char high = text.charAt(index);
    if (Character.isHighSurrogate(high) && index + 1 < text.length()) {
      char low = text.charAt(index + 1);
      if (Character.isLowSurrogate(low)) {
        return Character.toCodePoint(high, low);
      }
    }
    return REPLACEMENT;
  }

  /** Returns where the next character goes: the same place when this one does not fit. */
  private static int putCharacter(byte[] row, int at, int end, int c) {
    int left = end - at;
    if (c < 0x80) {
      if (left < 1) {
        return at;
      }
      row[at] = (byte) c;
      return at + 1;
    }
    int bytes = c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    if (left < bytes) {
      return at;
    }
    int rest = c;
    for (int i = bytes - 1; i > 0; i--) {
      row[at + i] = (byte) (0x80 | (rest & 0x3F));
      rest >>= 6;
    }
    // The first byte begins with as many ones as the character has bytes.
    row[at] = (byte) ((0xF00 >> bytes) | rest);
    return at + bytes;
  }
}
