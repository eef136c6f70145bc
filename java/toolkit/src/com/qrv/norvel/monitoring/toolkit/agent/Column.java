package com.qrv.norvel.monitoring.toolkit.agent;

/** One column of a table: a name, a type and a width. Immutable; made by {@link Columns}. */
public final class Column {
  private final String name;
  private final ColumnType type;
  private final int size;

  Column(String name, ColumnType type, int size) {
    this.name = Names.checked("column", name);
    this.type = type;
    this.size = size;
  }

  public String name() {
    return name;
  }

  public ColumnType type() {
    return type;
  }

  /** Bytes that the column takes in a row. */
  public int size() {
    return size;
  }

  @Override
  public String toString() {
    return name + " " + type + "(" + size + ")";
  }
}
