package com.qrv.norvel.monitoring.toolkit.agent;

/**
 * The cells of the row being written.
 *
 * <p>A value that its column cannot hold (a number out of range, text for a number) costs its own
 * cell: the cell becomes "not available", and the first such value of each column in a sample is
 * logged with table, column and value; of an event table, the first one, the second, the fourth and
 * so on. Nothing is rounded or clamped. Text that is too long is cut
 * between two characters, silently. A zero character, or half of a surrogate pair, becomes a
 * question mark.
 *
 * <p>Setting by index is the fast way. A column that the table does not have is an error of the
 * program: {@link IndexOutOfBoundsException} or {@link IllegalArgumentException}, which fails the
 * sample. The columns that name the subnode and number the events are the toolkit's and refused the
 * same way.
 */
public interface Row {

  /** Sets an integer cell by the position of its column. */
  Row set(int index, long value);

  /** Sets a text cell by the position of its column; null means "not available". */
  Row set(int index, String value);

  /** Sets an integer cell of the column with this column's name. */
  Row set(Column column, long value);

  /** Sets a text cell of the column with this column's name; null means "not available". */
  Row set(Column column, String value);

  /** Makes a cell "not available", as it is when it was never set. */
  Row unavailable(int index);

  /** Makes the cell of the column with this column's name "not available". */
  Row unavailable(Column column);
}
